// The print loop, setup and preview. A PDF goes the same way as paper.
#include "platform/view.h"

#include "platform/app.h"
#include "platform/qt/peer.h"
#include "platform/qt/queue.h"
#include "platform/qt/services.h"

#include <QCoreApplication>
#include <QDialog>
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
#include <cstring>

std::function<CString(CPrintInfo&)> g_print_dialog_hook;

namespace
{
// Above this many bytes of packed rows a page goes out in bands: each is an image of its own, and a
// rasteriser may round their common edges, so as few and tall as memory allows.
constexpr int64_t kBandBytes = int64_t{256} << 20;

class PrinterTarget final : public DeviceTarget
{
public:
    PrinterTarget(QPrinter* printer, QPainter* painter, bool* good)
        : m_printer(printer), m_painter(painter), m_good(*good)
    {
        // Images of 8 bits would else become JPEG.
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
        const int band = static_cast<int>(std::clamp<int64_t>(kBandBytes / row_bytes, 1, dest.Height()));
        for (int y = 0; y < dest.Height(); y += band) {
            const int rows = std::min(band, dest.Height() - y);
            QImage image(dest.Width(), rows, QImage::Format_Mono);
            if (image.isNull())
                return m_good = false;
            // With any other colour table than black and white in this order the toolkit would widen the
            // image to 32 bits and write a lossy picture. The bits are turned over instead.
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
        QImage image(source.Width(), source.Height(), QImage::Format_Grayscale8);
        if (image.isNull())
            return m_good = false;
        for (int y = 0; y < source.Height(); ++y) {
            const int64_t line = int64_t{info.height} - 1 - (source.top + y); // bottom line first
            const uint8_t* from = bits + line * info.width + source.left;
            uint8_t* to = image.scanLine(y);
            for (int x = 0; x < source.Width(); ++x)
                to[x] = static_cast<uint8_t>(colors[from[x]]); // grey: all three parts are equal
        }
        m_painter->setRenderHint(QPainter::SmoothPixmapTransform);
        m_painter->drawImage(QRect(dest.left, dest.top, dest.Width(), dest.Height()), image);
        return true;
    }

private:
    static void CopyRow(uint8_t* to, int64_t row_bytes, const CBitmap& bitmap, int source_x, int source_y,
                        int width, uint8_t flip)
    {
        const uint8_t* from = bitmap.Rows() + source_y * bitmap.RowBytes() + source_x / 8;
        const int shift = source_x % 8;
        const int64_t source_bytes = (int64_t{shift} + width + 7) / 8; // that hold pixels of this row
        for (int64_t i = 0; i < row_bytes; ++i) {
            unsigned bits = static_cast<unsigned>(from[i]) << shift;
            if (shift > 0 && i + 1 < source_bytes)
                bits |= from[i + 1] >> (8 - shift);
            to[i] = static_cast<uint8_t>(bits) ^ flip;
        }
        to[row_bytes - 1] &=
            static_cast<uint8_t>(0xff << (row_bytes * 8 - width)); // what lies behind the last pixel
    }

    QPrinter* m_printer;
    QPainter* m_painter;
    bool& m_good; // false once something could not be drawn
};

// The printer of the program: what a setup has chosen holds for its further runs. It ends with the toolkit.
QPrinter& Printer()
{
    static std::unique_ptr<QPrinter> printer;
    if (!printer) {
        printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
        printer->setColorMode(QPrinter::GrayScale); // 8 bits a pixel stay 8 bits in a file
        qAddPostRoutine([] { printer.reset(); });
    }
    return *printer;
}

enum class Print { done, failed, interrupted };

// One run of the pages.
Print PrintPages(CView* view, CPrintInfo* info, QPrinter* printer)
{
    QPainter painter;
    if (!painter.begin(printer))
        return Print::failed;
    bool good = true;
    CCmdTarget::BeginWaitCursor();
    CDC dc(std::make_unique<PrinterTarget>(printer, &painter, &good));
    dc.GetClipBox(&info->m_rectDraw);
    view->OnBeginPrinting(&dc, info);
    for (int page = info->GetMinPage(); good && page <= info->GetMaxPage(); ++page) {
        if (page > info->GetMinPage())
            good = printer->newPage();
        view->OnPrepareDC(&dc, info);
        if (good)
            view->OnPrint(&dc, info);
    }
    view->OnEndPrinting(&dc, info);
    const bool interrupted = CCmdTarget::WorkInterrupted();
    CCmdTarget::EndWaitCursor();
    good = painter.end() && good;
    if (interrupted)
        return Print::interrupted;
    return good && printer->printerState() != QPrinter::Error && printer->printerState() != QPrinter::Aborted
               ? Print::done
               : Print::failed;
}

// False if the file that was printed to is cut short: the toolkit does not look whether its writes succeed.
bool IsComplete(const QPrinter& printer)
{
    if (printer.outputFormat() != QPrinter::PdfFormat || !QFileInfo(printer.outputFileName()).isFile())
        return true;
    QFile file(printer.outputFileName());
    constexpr qint64 kTail = 16;
    return file.open(QIODevice::ReadOnly) && file.seek(std::max<qint64>(0, file.size() - kTail)) &&
           file.readAll().contains("%%EOF");
}

QWidget* ParentFor(const CWnd* window)
{
    return window && window->Peer() ? window->Peer()->Widget()->window() : nullptr;
}
} // namespace

bool CView::DoPreparePrinting(CPrintInfo* info)
{
    if (info->m_bPreview)
        return true;
    QPrinter& printer = Printer();
    if (g_print_dialog_hook) {
        const CString path = g_print_dialog_hook(*info);
        if (path.IsEmpty())
            return false;
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(ToQString(path));
        return true;
    }
    const ModalScope modal;
    QPrintDialog dialog(&printer, ParentFor(this));
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
    const Print print = PrintPages(this, &info, &printer);
    if (print == Print::failed || (print == Print::done && !IsComplete(printer)))
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
        // A printer of its own: the preview records what is drawn, and a print must not replay that record.
        QPrinter printer(QPrinter::HighResolution);
        printer.setPageLayout(Printer().pageLayout());
        QDialog window(ParentFor(this));
        window.setWindowTitle(QStringLiteral("Print Preview"));
        window.setWindowFlag(Qt::WindowMaximizeButtonHint);
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        auto* bar = new QToolBar(&window);
        auto* preview = new QPrintPreviewWidget(&printer, &window);
        layout->addWidget(bar);
        layout->addWidget(preview, 1);
        QObject::connect(preview, &QPrintPreviewWidget::paintRequested, &window,
                         [&](QPrinter* device) { PrintPages(this, &info, device); });
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
    // Without a printer the dialog serves paper and orientation all the same, but says that it would rather
    // not.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    QPageSetupDialog dialog(&Printer(), ParentFor(m_pMainWnd));
    QLoggingCategory::setFilterRules(QString());
    dialog.exec();
}
