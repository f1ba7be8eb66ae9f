#include "app/pageinfodialog.h"

#include "app/dialogids.h"
#include "app/lumentadoc.h"
#include "app/units.h"

#include <cinttypes>

namespace
{
constexpr size_t kPathEndBytes = 480; // of a longer path, its beginning and its end
} // namespace

const CRuntimeClass CPageInformationDialog::classRecord{"CPageInformationDialog", &CDialog::classRecord,
                                                        nullptr};

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
