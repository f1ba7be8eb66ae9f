// SPDX-License-Identifier: MIT
// Makes the texts of the dialog from the document and from the check. OnWork runs one step of the check, so
// that the dialog handles input between two steps.
#include "app/pageinfodialog.h"

#include "app/dialogids.h"
#include "app/lumentadoc.h"
#include "app/units.h"
#include "platform/app.h"
#include "platform/displaytext.h"

#include <cinttypes>
#include <new>

namespace
{
constexpr size_t kPathEndBytes = 480;                   // bytes that are shown at each end of a longer path
constexpr int kZonesInARow = 8;                         // zones per row of the result
constexpr std::chrono::milliseconds kProgressTime{100}; // between two updates of the progress bar
} // namespace

const CRuntimeClass CPageInformationDialog::classRecord{"CPageInformationDialog", &CDialog::classRecord,
                                                        nullptr};
const MessageEntry CPageInformationDialog::entries[] = {
    OnControl<BN_CLICKED, kCheckButton, &CPageInformationDialog::OnCheck>(),
};
const MessageMap CPageInformationDialog::messages{&CDialog::messages, entries};

Description DescribePage(const CLumentaDoc& document, int units)
{
    const Image& image = *document.m_pImage;
    Description rows;
    rows.Add("File", DisplayBothEnds(image.Path, kPathEndBytes, kPathEndBytes));
    rows.Add("Title", document.m_strPageTitle);
    image.Describe(&rows);
    rows.Format("Size", "%d x %d pixels", image.Width, image.Height);
    if (units != kPixels)
        rows.Format("Size in the unit", "%s x %s %s", FormatLength(image.Width, units, image.XDpi).c_str(),
                    FormatLength(image.Height, units, image.YDpi).c_str(), UnitName(units));
    rows.Format("Resolution", "%d x %d per inch", image.XDpi, image.YDpi);
    rows.Format("Bits per pixel", "%d", image.BitsPerPixel);
    const int64_t file_bytes = document.GetFileStatus().size_bytes;
    if (file_bytes > 0) {
        const double page_bytes = image.BitsPerPixel / 8.0 * image.Width * image.Height;
        rows.Format("File size", "%" PRId64 " bytes", file_bytes);
        rows.Format("Compression", "%.1f to 1", page_bytes / static_cast<double>(file_bytes));
    }
    return rows;
}

Description DescribeCheck(const CLumentaDoc& document, const PageCheck& check)
{
    const int32_t rows = document.m_nDepth;
    Description text;
    if (!check.IsComplete())
        text.Format("Checked", "%d of %d rows", check.GoodRows(), rows);
    text.Format("Good rows", "%d of %d", check.GoodRows(), rows);
    if (document.m_bReadError) {
        text.Format("First bad row", "%d", document.m_nErrorRow);
        text.Add("Message", document.m_strErrorMessage);
    }
    if (document.m_pImage->SuspiciousRow >= 0)
        text.Format("Suspicious from row", "%d", document.m_pImage->SuspiciousRow);
    if (!check.CanCount())
        text.Add("Ink coverage", "not counted");
    if (check.Ink().Rows() == 0)
        return text;
    text.Format(check.Ink().Rows() < rows ? "Ink coverage of the good rows" : "Ink coverage", "%.2f %%",
                check.Ink().PagePerCent());
    for (int first = 0; first < kInkZones; first += kZonesInARow) {
        CString name;
        name.Format("Zones %d to %d (%%)", first + 1, first + kZonesInARow);
        CString shares;
        for (int zone = first; zone < first + kZonesInARow; ++zone) {
            CString share;
            share.Format(zone == first ? "%.1f" : " %.1f", check.Ink().ZonePerCent(zone));
            shares += share;
        }
        text.Add(name.c_str(), shares.View());
    }
    return text;
}

CPageInformationDialog::CPageInformationDialog(CLumentaDoc* document, int units)
    : CDialog(kInformationDialog), m_document(document), m_nUnits(units)
{
}

bool CPageInformationDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    SetDlgItemRows(kPageText, DescribePage(*m_document, m_nUnits).Rows());
    return true;
}

void CPageInformationDialog::OnCheck()
{
    if (m_check)
        return;
    m_check.emplace(m_document);
    m_progress_shown = {};
    SetDlgItemRows(kCheckText, {});
    SetDlgItemBars(kCheckBars, {});
    SetDlgItemText(IDCANCEL, "Cancel");
    StartWork();
}

bool CPageInformationDialog::OnWork()
{
    // A step may show a message box, and the user may close the dialog meanwhile. OnCancel then sets only
    // m_stop_requested.
    PageCheck::Result result = PageCheck::Result::done;
    m_stop_requested = false;
    m_in_step = true;
    try {
        result = m_check->Step();
        m_in_step = false;
    } catch (const std::bad_alloc&) {
        m_in_step = false;
        EndCheck();
        AfxMessageBox("Insufficient memory to check page");
        return false;
    }
    if (result == PageCheck::Result::pageClosed) {
        EndDialog(IDCANCEL); // the page that the dialog shows was closed
        return false;
    }
    if (result == PageCheck::Result::done || m_stop_requested) {
        ShowCheck();
        EndCheck();
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - m_progress_shown >= kProgressTime) {
        SetDlgItemProgress(kCheckProgress, m_check->Progress());
        m_progress_shown = now;
    }
    return true;
}

void CPageInformationDialog::OnCancel()
{
    if (!m_check || !m_check->IsPageOpen()) {
        CDialog::OnCancel();
        return;
    }
    if (m_in_step) {
        m_stop_requested = true; // the step still uses m_check
        return;
    }
    StopWork();
    ShowCheck();
    EndCheck();
}

void CPageInformationDialog::EndCheck()
{
    m_check.reset();
    SetDlgItemText(IDCANCEL, "Close");
}

void CPageInformationDialog::ShowCheck()
{
    SetDlgItemProgress(kCheckProgress, m_check->IsComplete() ? 100 : m_check->Progress());
    SetDlgItemRows(kCheckText, DescribeCheck(*m_document, *m_check).Rows());
    if (m_check->Ink().Rows() == 0)
        return;
    std::vector<ChartBar> bars(kInkZones);
    for (int zone = 0; zone < kInkZones; ++zone) {
        const double per_cent = m_check->Ink().ZonePerCent(zone);
        ChartBar& bar = bars[static_cast<size_t>(zone)];
        bar.share = per_cent / 100;
        bar.text.Format("Zone %d: %.1f %%", zone + 1, per_cent);
    }
    SetDlgItemBars(kCheckBars, std::move(bars));
}
