// SPDX-License-Identifier: MIT
// Opens and closes pages. The row store is in rowstore.cpp, drawing in pagedraw.cpp and reduction in
// pagescale.cpp.
#include "app/lumentadoc.h"

#include "app/group4image.h"
#include "app/jbigimage.h"
#include "app/pagepath.h"
#include "app/sqzimage.h"
#include "app/sqznoneimage.h"
#include "app/tifimage.h"
#include "app/usermsg.h"
#include "platform/app.h"
#include "platform/view.h"

#include <new>

namespace
{
// The kinds of page file, in the order in which they are tried.
using ImageFactory = std::unique_ptr<Image> (*)();
template <class T>
std::unique_ptr<Image> MakeImage()
{
    return std::make_unique<T>();
}
constexpr ImageFactory kImageClasses[] = {
    MakeImage<SqzImage>,     MakeImage<JBIGImage>, MakeImage<Group4Image>,
    MakeImage<SqzNoneImage>, MakeImage<TIFFImage>,
};

// Opens a page file with the first kind that accepts it. If there is none, returns the image that was tried
// last. It is closed, and its ErrorText says why.
std::unique_ptr<Image> OpenImage(const CString& file)
{
    std::unique_ptr<Image> image;
    for (const ImageFactory make : kImageClasses) {
        image = make();
        if (image->Open(file) != 0)
            break;
    }
    return image;
}

bool IsOpen(const Image& image)
{
    return !image.Path.IsEmpty();
}

void ReportOpenFailure(const CString& file, const Image& image)
{
    AfxMessageBox(file + ": " + image.ErrorText);
}

void SendToMainWindow(UINT message, int first, int second)
{
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(message, static_cast<WPARAM>(first), second);
}
} // namespace

const CRuntimeClass CLumentaDoc::classRecord{"CLumentaDoc", &CDocument::classRecord,
                                             CreateObjectOf<CLumentaDoc>};

const MessageEntry CLumentaDoc::entries[] = {
    OnCommand<kLinesPerUpdateCommand, &CLumentaDoc::OnLinesPerUpdate>(),
};
const MessageMap CLumentaDoc::messages{&CDocument::messages, entries};

CLumentaDoc::CLumentaDoc()
{
    BuildGreyPalette(); // the document also works without a palette
    CWinApp* const app = AfxGetApp();
    m_nLinesPerUpdate = app ? app->GetProfileInt(kAppSettings, kLinesPerUpdate, 0) : 1;
    if (m_nLinesPerUpdate < 1) {
        m_nLinesPerUpdate = 1;
        app->WriteProfileInt(kAppSettings, kLinesPerUpdate, 1);
    }
}

CLumentaDoc::~CLumentaDoc()
{
    CLumentaDoc::DeleteContents();
}

bool CLumentaDoc::BuildGreyPalette()
{
    m_hPalette.reset();
    try {
        std::vector<COLORREF> ramp(256);
        for (unsigned i = 0; i < 256; ++i)
            ramp[i] = Grey(255 - i);
        m_hPalette = std::make_unique<CPalette>(std::move(ramp));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

void CLumentaDoc::SetTitle(const CString&)
{
    CDocument::SetTitle(m_strPageTitle);
}

// The template passes the whole path that it opened, including a tab or semicolon and the text after it.
void CLumentaDoc::SetPathName(const CString& path, bool add_to_recent)
{
    CDocument::SetPathName(PagePath(path), add_to_recent);
}

void CLumentaDoc::DeleteContents()
{
    ++m_nPageSerial;
    m_pDibInfo.reset();
    m_pScaled.reset();
    m_nWidth = 0;
    m_nDepth = 0;
    SendToMainWindow(WM_PAGE_SIZE, 0, 0);
    SendToMainWindow(WM_PAGE_RESOLUTION, 0, 0);
    ReleaseRowMapping();
    ReleaseRowBuffer();
    m_pImage.reset();
    m_strPageTitle.Empty();
    for (CView* const view : GetViews())
        if (HasView(view) && view->SendMessage(WM_PAGE_CLOSED, 0, PackPointer(this)) == 0)
            break;
}

bool CLumentaDoc::OnNewDocument()
{
    if (!CDocument::OnNewDocument())
        return false;
    DeleteContents();
    return true;
}

bool CLumentaDoc::OnOpenDocument(const CString& path)
{
    BeginWaitCursor(Hourglass::atOnce); // the file may be on a slow mount
    const bool opened = OpenPage(path);
    UpdateAllViews(nullptr, kHintPage);
    EndWaitCursor();
    return opened;
}

bool CLumentaDoc::CanOpen(const CString& path)
{
    BeginWaitCursor(Hourglass::atOnce); // as in OnOpenDocument
    const CString file = PagePath(path);
    const std::unique_ptr<Image> image = OpenImage(file);
    const bool has_rows = IsOpen(*image) && image->IsValid();
    if (!IsOpen(*image))
        ReportOpenFailure(file, *image);
    else if (!has_rows)
        AfxMessageBox("Unable to allocate bitmap"); // the message of OpenPage for a page with a side of 0
    EndWaitCursor();
    return has_rows;
}

bool CLumentaDoc::OpenPage(const CString& path)
{
    // The old page is closed even if the new file does not open.
    DeleteContents();
    const CString file = PagePath(path);
    m_FileStatus = FileStatusOf(file);
    m_FileState = FileState::asOpened;

    m_pImage = OpenImage(file);
    if (!IsOpen(*m_pImage)) {
        ReportOpenFailure(file, *m_pImage);
        return false;
    }

    m_nWidth = m_pImage->Width;
    m_nRowBytes = m_pImage->BytesPerRow;
    m_nDepth = m_pImage->Height;
    m_nWindowRows = 0;
    m_nWindowFirst = 0;
    m_nLastRow = -1;
    m_bReadError = false;
    if (!CreateRowMapping(m_nDepth) && !AllocateRowBuffer(m_nDepth)) {
        AfxMessageBox("Unable to allocate bitmap");
        DeleteContents();
        SetModifiedFlag(false);
        SetTitle({});
        return false;
    }

    // SetPathName also sets the title to the label, which is still empty. The template calls it again after
    // this function, and the title then becomes the label.
    SetPathName(file, true);
    SetModifiedFlag(false);
    m_strPageTitle = m_pImage->Name;
    SendToMainWindow(WM_PAGE_RESOLUTION, m_pImage->XDpi, m_pImage->YDpi);
    SendToMainWindow(WM_PAGE_SIZE, m_nWidth, m_nDepth);
    return true;
}

bool CLumentaDoc::HasPage() const
{
    return m_pImage && m_pImage->IsValid() && m_pRows;
}

bool CLumentaDoc::IsBilevelPage() const
{
    return m_pImage && m_pImage->IsValid() && m_pImage->BitsPerPixel == 1;
}

CString CLumentaDoc::GetStatusText() const
{
    if (!HasPage())
        return "No page";
    const int32_t suspicious = m_pImage->SuspiciousRow;
    return FormatPageNotes(suspicious >= 0 ? std::optional{suspicious} : std::nullopt,
                           m_bReadError ? std::optional{m_nErrorRow} : std::nullopt, m_FileState);
}

void CLumentaDoc::CheckFile()
{
    if (!HasPage())
        return;
    const FileStatus now = FileStatusOf(GetPathName());
    m_FileState = now.kind == FileStatus::Kind::unknown ? FileState::unreadable
                  : !now.IsFile()                       ? FileState::gone
                  : now == m_FileStatus                 ? FileState::asOpened
                                                        : FileState::changed;
}

CPalette* CLumentaDoc::GetPagePalette(bool scaled) const
{
    if (!m_pImage)
        return nullptr;
    if (!scaled)
        return m_hPalette.get();
    return m_pScaled ? m_pScaled->GetPalette() : nullptr;
}
