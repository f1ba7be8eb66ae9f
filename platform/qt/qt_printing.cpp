// SPDX-License-Identifier: MIT
// The print loop, page setup and preview. The view draws on a CDC whose target is the printer. A PDF file is
// produced in the same way as a print on paper.
#include "platform/view.h"

#include "platform/app.h"
#include "platform/freememory.h"
#include "platform/hooks.h"
#include "platform/qt/framewidget.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/queue.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLoggingCategory>
#include <QPageSetupDialog>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewWidget>
#include <QPrinter>
#include <QToolBar>
#include <QVBoxLayout>
#include <algorithm>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// A picture is printed in bands if its image and Qt's copies of it would take more memory than these limits,
// or than LargestBlock returns. Each band is an image of its own in the file, and a viewer may round their
// common edges. So there are as few bands as possible.
constexpr int64_t kBilevelBytes = int64_t{768} << 20;
constexpr int64_t kBilevelCopies = 3; // the image, its packed rows, and the compressed rows
constexpr int64_t kGreyBytes = int64_t{44} << 20;
// 4 in the image, 1 of grey and 1 of opacity that Qt makes of it, 1 of compressed grey.
constexpr int64_t kGreyPixelBytes = 7;
constexpr int kOverlapPixels = 32; // in printer pixels: more than one pixel of a viewer at a small scale

constexpr int kWidestImage = INT32_MAX / 32; // Qt counts the bits of a row in an int

int64_t BandBytes(int64_t most)
{
    return std::min(most, LargestBlock());
}

enum class Print {
    done,
    failed,
    aborted, // failed, and the user has seen a message or interrupted the print
};

class PrinterTarget final : public DeviceTarget
{
public:
    PrinterTarget(QPrinter* printer, QPainter* painter, bool preview, Print* result)
        : m_printer(printer), m_painter(painter), m_preview(preview), m_result(*result)
    {
        // Otherwise images of 8 bits would become JPEG.
        m_painter->setRenderHint(QPainter::LosslessImageRendering);
    }

    bool IsPrinting() const override { return true; }

    RegionKind GetClipBox(CRect* box) const override
    {
        const QRect page = m_painter->viewport();
        *box = {0, 0, page.width(), page.height()};
        return SIMPLEREGION;
    }

    int GetDeviceCaps(int index) const override
    {
        switch (index) {
        case HORZRES: return m_painter->viewport().width();
        case VERTRES: return m_painter->viewport().height();
        case LOGPIXELSX:
        case LOGPIXELSY: return m_printer->resolution();
        default: return 0;
        }
    }

    bool DrawBilevel(const CRect& dest, const CBitmap& bitmap, int source_x, int source_y, COLORREF zero,
                     COLORREF) override
    {
        const int64_t row_bytes = (int64_t{dest.Width()} + 7) / 8;
        const int band = static_cast<int>(
            std::clamp<int64_t>(BandBytes(kBilevelBytes) / (row_bytes * kBilevelCopies), 1, dest.Height()));
        for (int y = 0; y < dest.Height(); y += band) {
            const int rows = std::min(band, dest.Height() - y);
            QImage image(dest.Width(), rows, QImage::Format_Mono);
            if (image.isNull())
                return Fail();
            // For any other colour table than black and white in this order, Qt would expand the image to 32
            // bits and write a lossy picture. So the bits are inverted instead.
            image.setColorTable({0xff000000, 0xffffffff});
            for (int row = 0; row < rows; ++row)
                CopyRow(image.scanLine(row), row_bytes, bitmap, source_x, source_y + y + row, dest.Width(),
                        zero == kBlack ? 0 : 0xff);
            m_painter->drawImage(QPoint(dest.left, dest.top + y), image);
        }
        return true;
    }

    bool DrawIndexed(const CRect& dest, const BitmapInfo& info, const uint8_t* bits, const CRect& source,
                     const COLORREF* colors) override
    {
        const int lines = source.Height();
        if (source.Width() > kWidestImage)
            return Fail();
        // Each band except the last overlaps the next band, which covers the overlap. Otherwise paper would
        // show between bands in a viewer that smooths the edges of an image.
        const int64_t most = BandBytes(kGreyBytes) / (kGreyPixelBytes * source.Width());
        const int64_t pixel_lines = (lines - 1) / dest.Height() + 1; // lines in one printer pixel
        const int64_t overlap = std::max(
            pixel_lines, std::min((int64_t{kOverlapPixels} * lines - 1) / dest.Height() + 1, most / 8));
        const int64_t bands = (lines - 1) / std::max(most - overlap, overlap) + 1;
        const int64_t band = (lines - 1) / bands + 1;
        // The edges of a band are at whole printer pixels.
        const auto edge = [&](int64_t line) {
            return dest.top + static_cast<int>((line * dest.Height() + lines / 2) / lines);
        };
        m_painter->setRenderHint(QPainter::SmoothPixmapTransform);
        for (int64_t top = 0; top < lines; top += band) {
            // Qt takes long to compress a band, so this is checked before each one. PrintPages then ends the
            // print.
            if (CCmdTarget::WorkInterrupted())
                return false;
            const int64_t end = top + band < lines ? std::min<int64_t>(top + band + overlap, lines) : lines;
            const QRect place(dest.left, edge(top), dest.Width(), edge(end) - edge(top));
            if (!DrawBand(place, info, bits,
                          {source.left, source.top + static_cast<int>(top), source.right,
                           source.top + static_cast<int>(end)},
                          colors))
                return Fail();
        }
        return true;
    }

    void AbortDoc(bool message_shown) override { m_result = message_shown ? Print::aborted : Print::failed; }

private:
    // The colours are greys. If an 8-bit image is printed to a file, Qt converts it to 32 bits per pixel, and
    // reports nothing if memory is short. So an image for a file has 32 bits from the start. A preview keeps
    // its images, so they have 8 bits.
    bool DrawBand(const QRect& place, const BitmapInfo& info, const uint8_t* bits, const CRect& source,
                  const COLORREF* colors)
    {
        QImage image(source.Width(), source.Height(),
                     m_preview ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
        if (image.isNull())
            return false;
        for (int y = 0; y < source.Height(); ++y) {
            const uint8_t* const from = info.Line(bits, source.top + y) + source.left;
            uint8_t* const line = image.scanLine(y);
            if (m_preview)
                std::transform(from, from + source.Width(), line,
                               [colors](uint8_t value) { return static_cast<uint8_t>(colors[value]); });
            else
                std::transform(from, from + source.Width(), reinterpret_cast<QRgb*>(line),
                               [colors](uint8_t value) { return colors[value]; });
        }
        m_painter->drawImage(place, image);
        return true;
    }

    bool Fail()
    {
        m_result = Print::failed;
        return false;
    }

    static void CopyRow(uint8_t* to, int64_t row_bytes, const CBitmap& bitmap, int source_x, int source_y,
                        int width, uint8_t flip)
    {
        const uint8_t* from = bitmap.Rows() + source_y * bitmap.RowBytes() + source_x / 8;
        const int shift = source_x % 8;
        const int64_t source_bytes = (int64_t{shift} + width + 7) / 8; // bytes that hold pixels of this row
        for (int64_t i = 0; i < row_bytes; ++i) {
            unsigned bits = static_cast<unsigned>(from[i]) << shift;
            if (shift > 0 && i + 1 < source_bytes)
                bits |= from[i + 1] >> (8 - shift);
            to[i] = static_cast<uint8_t>(bits) ^ flip;
        }
        // Clears the bits after the last pixel.
        to[row_bytes - 1] &= static_cast<uint8_t>(0xff << (row_bytes * 8 - width));
    }

    QPrinter* m_printer;
    QPainter* m_painter;
    bool m_preview;
    Print& m_result;
};

// The program's printer. It keeps the choices of a setup or print dialog until the program ends, and is
// destroyed before Qt's application object.
QPrinter& Printer()
{
    static std::unique_ptr<QPrinter> printer;
    if (!printer) {
        printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
        printer->setColorMode(QPrinter::GrayScale); // keeps 8 bits per pixel in a file
        qAddPostRoutine([] { printer.reset(); });
    }
    return *printer;
}

// Returns false if the printed file is incomplete. Qt does not check whether its writes succeed.
bool IsComplete(const QPrinter& printer)
{
    if (printer.outputFormat() != QPrinter::PdfFormat || !QFileInfo(printer.outputFileName()).isFile())
        return true;
    QFile file(printer.outputFileName());
    constexpr qint64 kTail = 16;
    return file.open(QIODevice::ReadOnly) && file.seek(std::max<qint64>(0, file.size() - kTail)) &&
           file.readAll().contains("%%EOF");
}

// A print to a pipe would wait for a reader, and a reader that closes the pipe would end the program.
bool IsPipe(const QByteArray& path)
{
    struct stat status;
    return stat(path.constData(), &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

// Removes the file of a failed print, following links. A device is not removed. A file that cannot be removed
// is truncated to no bytes.
void RemoveFile(const QByteArray& path)
{
    struct stat status;
    if (stat(path.constData(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    char* const real_path = realpath(path.constData(), nullptr);
    if (!real_path || (unlink(real_path) != 0 && truncate(real_path, 0) != 0))
        qWarning("%s: not removed", path.constData());
    std::free(real_path);
}

// Prints the pages once. A print that fails leaves no file.
Print PrintPages(CView* view, CPrintInfo* info, QPrinter* printer)
{
    const QByteArray path = QFile::encodeName(printer->outputFileName());
    QPainter painter;
    if (IsPipe(path) || !painter.begin(printer)) // the last step of begin creates or truncates the file
        return Print::failed;
    Print result = Print::done;
    CCmdTarget::BeginWaitCursor();
    CDC dc(std::make_unique<PrinterTarget>(printer, &painter, info->m_bPreview, &result));
    dc.GetClipBox(&info->m_rectDraw);
    view->OnBeginPrinting(&dc, info);
    for (int page = info->GetMinPage(); result == Print::done && page <= info->GetMaxPage(); ++page) {
        if (page > info->GetMinPage() && !printer->newPage()) {
            result = Print::failed;
            break;
        }
        view->OnPrepareDC(&dc, info);
        view->OnPrint(&dc, info);
    }
    view->OnEndPrinting(&dc, info);
    if (CCmdTarget::WorkInterrupted())
        result = Print::aborted;
    CCmdTarget::EndWaitCursor();
    const bool ended = painter.end() && printer->printerState() != QPrinter::Error &&
                       printer->printerState() != QPrinter::Aborted && IsComplete(*printer);
    if (!ended && result == Print::done)
        result = Print::failed;
    if (result != Print::done)
        RemoveFile(path);
    return result;
}

// Returns a PDF file name for a page's label. The suffix is necessary: the dialog proposes the document's
// name without its last suffix, and a label may contain a dot.
QString PdfName(const QString& label)
{
    constexpr qsizetype kMaxNameBytes = 255; // limit of the system for a file name
    const QString suffix = QStringLiteral(".pdf");
    QString name = label;
    for (QChar& letter : name)
        if (letter == u'/' || letter.category() == QChar::Other_Control ||
            letter.category() == QChar::Separator_Line || letter.category() == QChar::Separator_Paragraph)
            letter = u'_';
    name = name.trimmed();
    while (name.toUtf8().size() > kMaxNameBytes - suffix.size())
        name.chop(name.back().isLowSurrogate() ? 2 : 1);
    if (name.startsWith(u'.')) // otherwise the file would be hidden
        name.front() = u'_';
    return (name.isEmpty() ? QStringLiteral("print") : name) + suffix;
}
} // namespace

bool CView::DoPreparePrinting(CPrintInfo* info)
{
    if (info->m_bPreview)
        return true;
    QPrinter& printer = Printer();
    const QString label = GetDocument() ? ToQString(GetDocument()->GetTitle()) : QString();
    if (const auto& instead = Hooks::Get().print_dialog) {
        const CString path = instead(*info);
        if (path.IsEmpty())
            return false;
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(ToQString(path));
        return true;
    }
    const ModalScope modal;
    // The printer still has the file name of the last print. Only the directory of that file is used again.
    if (const QString last = printer.outputFileName(); !last.isEmpty())
        printer.setOutputFileName(QFileInfo(last).dir().filePath(PdfName(label)));
    printer.setDocName(PdfName(label));
    QPrintDialog dialog(&printer, ParentForBox());
    dialog.setMinMax(info->GetMinPage(), info->GetMaxPage());
    dialog.setOption(QAbstractPrintDialog::PrintPageRange, false);
    return dialog.exec() == QDialog::Accepted;
}

void CView::OnFilePrint()
{
    CPrintInfo info;
    if (!OnPreparePrinting(&info))
        return;
    QPrinter& printer = Printer();
    if (GetDocument())
        printer.setDocName(ToQString(GetDocument()->GetTitle()));
    if (PrintPages(this, &info, &printer) == Print::failed)
        AfxMessageBox("Printing failed");
}

void CView::OnFilePrintPreview()
{
    CPrintInfo info;
    info.m_bPreview = true;
    if (!OnPreparePrinting(&info))
        return;
    bool print = false;
    {
        const ModalScope modal;
        // The preview has a printer of its own. This printer records what is drawn, and a print must not
        // repeat that record.
        QPrinter printer(QPrinter::HighResolution);
        printer.setPageLayout(Printer().pageLayout());
        QDialog window(ParentForBox());
        window.setWindowTitle(QStringLiteral("Print Preview"));
        window.setWindowFlag(Qt::WindowMaximizeButtonHint);
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        auto* bar = new QToolBar(&window);
        auto* preview = new QPrintPreviewWidget(&printer, &window);
        layout->addWidget(bar);
        layout->addWidget(preview, 1);
        QObject::connect(preview, &QPrintPreviewWidget::paintRequested, &window, [&](QPrinter* device) {
            if (PrintPages(this, &info, device) == Print::failed)
                AfxMessageBox("Printing failed");
        });
        QObject::connect(bar->addAction(QStringLiteral("&Print...")), &QAction::triggered, &window, [&] {
            print = true;
            window.accept();
        });
        QObject::connect(bar->addAction(QStringLiteral("Zoom &In")), &QAction::triggered, preview,
                         [preview] { preview->zoomIn(); });
        QObject::connect(bar->addAction(QStringLiteral("Zoom &Out")), &QAction::triggered, preview,
                         [preview] { preview->zoomOut(); });
        QObject::connect(bar->addAction(QStringLiteral("&Whole Page")), &QAction::triggered, preview,
                         &QPrintPreviewWidget::fitInView);
        QObject::connect(bar->addAction(QStringLiteral("&Close")), &QAction::triggered, &window,
                         &QDialog::reject);
        window.resize(800, 700);
        window.exec();
    }
    if (print)
        OnFilePrint();
}

void CWinApp::OnFilePrintSetup()
{
    const ModalScope modal;
    // Without a printer Qt logs a warning here, although paper size and orientation can still be chosen.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    QPageSetupDialog dialog(&Printer(), ParentForBox());
    QLoggingCategory::setFilterRules(QString());
    dialog.exec();
}
