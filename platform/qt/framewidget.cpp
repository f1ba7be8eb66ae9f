// SPDX-License-Identifier: MIT
// The widget of a frame: menu, accelerators, and events.
#include "platform/qt/framewidget.h"

#include "platform/app.h"
#include "platform/qt/longwork.h"
#include "platform/qt/panewidget.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_framewnd.h"
#include "platform/qt/queue.h"
#include "platform/qt/viewwidget.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPaintEvent>
#include <QPixmap>
#include <QSysInfo>
#include <QUrl>
#include <QWindow>
#include <QWindowStateChangeEvent>
#include <utility>

namespace
{
constexpr int kSettleMs = 50; // time without events after which place and state are matched

// The active frame; while another program is active, the last active one.
QPointer<FrameWidget> g_active_frame;

bool IsThisHost(const QString& host)
{
    return host.isEmpty() || host == QLatin1String("localhost") || host == QSysInfo::machineHostName();
}

// Returns the local files that were dropped. Only the encoded form keeps names that are not valid UTF-8.
std::vector<CString> LocalFiles(const QMimeData* data)
{
    std::vector<CString> paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile() && IsThisHost(url.host())) {
            const QByteArray path = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toUtf8());
            if (!path.contains('\0'))
                paths.emplace_back(path.toStdString());
        }
    return paths;
}
} // namespace

QWidget* ParentForBox()
{
    if (QWidget* const above = QApplication::activeModalWidget())
        return above;
    if (g_active_frame && g_active_frame->isVisible())
        return g_active_frame;
    return FrameOf(AfxGetMainWnd());
}

FrameWidget::FrameWidget(CFrameWnd* owner, const CREATESTRUCT& cs) : m_owner(owner)
{
    setMinimumSize(kLeastSize);
    m_settle.setSingleShot(true);
    m_settle.setInterval(kSettleMs);
    connect(&m_settle, &QTimer::timeout, this, [this] {
        MatchFullScreen();
        MatchPlace();
        MatchClient();
    });
    setContextMenuPolicy(Qt::NoContextMenu);
    if (const char* const* icon = AfxGetApp() ? AfxGetApp()->GetResources().icon : nullptr)
        setWindowIcon(QIcon(QPixmap(icon)));
    if (cs.menu)
        MakeMenu();
    PlaceFrame({cs.x, cs.y, cs.x + cs.cx, cs.y + cs.cy});
}

void FrameWidget::MakeMenu()
{
    const ApplicationResources& resources = AfxGetApp()->GetResources();
    const auto run = [this](UINT command) {
        if (m_owner)
            m_owner->SendMessage(WM_COMMAND, command);
        Queue::Get().InputHandled();
    };
    for (const PopupMenu& popup : resources.menus) {
        QMenu* menu = menuBar()->addMenu(QString::fromUtf8(popup.text));
        for (const MenuItem& item : popup.items) {
            if (item.command == 0) {
                menu->addSeparator();
                continue;
            }
            QAction* action = menu->addAction(QString::fromUtf8(item.text));
            action->setData(item.command);
            action->setStatusTip(ToQString(AfxGetApp()->LoadString(item.command)));
            connect(action, &QAction::triggered, this, [run, item] { run(item.command); });
        }
        connect(menu, &QMenu::aboutToShow, this, [this, menu] {
            for (QAction* action : menu->actions()) {
                if (!m_owner || action->isSeparator())
                    continue;
                const CCmdUI ui = m_owner->QueryCommand(action->data().toUInt());
                action->setEnabled(ui.IsEnabled());
                action->setCheckable(ui.IsCheckable());
                action->setChecked(ui.IsChecked());
            }
        });
    }
    for (const Accelerator& accelerator : resources.accelerators) {
        auto* shortcut = new QShortcut(QKeySequence(QString::fromLatin1(accelerator.keys)), this);
        shortcut->setContext(Qt::ApplicationShortcut); // also in the program's other windows
        if (accelerator.full_screen_only) {
            shortcut->setContext(Qt::WindowShortcut);
            shortcut->setEnabled(false);
            m_fullScreenKeys.push_back(shortcut);
        }
        connect(shortcut, &QShortcut::activated, this, [run, accelerator] { run(accelerator.command); });
    }
}

void FrameWidget::closeEvent(QCloseEvent* event)
{
    event->ignore();
    if (m_owner)
        m_owner->SendMessage(WM_CLOSE);
}

void FrameWidget::dragEnterEvent(QDragEnterEvent* event)
{
    if (!LocalFiles(event->mimeData()).empty())
        event->acceptProposedAction();
}

void FrameWidget::dropEvent(QDropEvent* event)
{
    const std::vector<CString> paths = LocalFiles(event->mimeData());
    if (paths.empty() || !m_owner)
        return;
    event->acceptProposedAction();
    // The files are opened later, because the program that the files come from waits for the end of this
    // event, and a page may show a box.
    QCoreApplication::postEvent(this, new DroppedFilesEvent(paths));
}

bool FrameWidget::event(QEvent* event)
{
    if (event->type() != DroppedFilesEvent::kType)
        return QMainWindow::event(event);
    if (m_owner && isEnabled() && !QApplication::activeModalWidget())
        m_owner->SendMessage(WM_DROPFILES, 0, PackPointer(&static_cast<DroppedFilesEvent*>(event)->paths));
    Queue::Get().InputHandled();
    return true;
}

void FrameWidget::moveEvent(QMoveEvent* event)
{
    QMainWindow::moveEvent(event);
    RecordPlace();
}

void FrameWidget::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    MatchPlaceSoon();
    RecordPlace();
}

void FrameWidget::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange) {
        const Qt::WindowStates before = static_cast<QWindowStateChangeEvent*>(event)->oldState();
        MatchPlaceSoon();
        if (isFullScreen() != m_fullScreen || m_fullScreen || m_restoring)
            m_settle.start();
        if ((before & Qt::WindowMinimized) && !isMinimized())
            ShownAgain();
    }
    if (event->type() == QEvent::ActivationChange)
        ActivationChanged();
}

void FrameWidget::ActivationChanged()
{
    if (isActiveWindow())
        Activated();
    if (m_owner && m_active != isActiveWindow()) {
        m_active = isActiveWindow();
        m_owner->SendMessage(WM_ACTIVATE, m_active ? 1 : 0);
    }
    CView* const view = m_owner && isActiveWindow() ? m_owner->GetActiveView() : nullptr;
    if (view)
        view->OnActivateView(true, view, view);
}

void FrameWidget::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    m_placing = true;
    windowHandle()->installEventFilter(this);
    // The window manager reports its margins when it shows the window. The timer calls this function after
    // the events that report them.
    QTimer::singleShot(0, this, [this] {
        m_placeAtExpose = true;
        if (windowHandle() && windowHandle()->isExposed())
            Exposed();
    });
}

void FrameWidget::Exposed()
{
    if (!std::exchange(m_placeAtExpose, false))
        return;
    m_placing = false;
    Shown();
}

bool FrameWidget::eventFilter(QObject* object, QEvent* event)
{
    if (object == windowHandle()) {
        if (event->type() == QEvent::Expose && windowHandle()->isExposed())
            Exposed();
        ViewWidget* const view = View();
        // In these two events Qt sends pixels of the window from its backing store, without a paint event for
        // each widget.
        if (view && (event->type() == QEvent::Expose || event->type() == QEvent::Paint))
            view->PrepareStore();
        // A part of the window was uncovered.
        if (view && event->type() == QEvent::Paint &&
            static_cast<QPaintEvent*>(event)->region().intersects(
                QRect(view->mapTo(this, QPoint(0, 0)), view->size())))
            view->WantPaint();
    }
    return QMainWindow::eventFilter(object, event);
}

ViewWidget* FrameWidget::View() const
{
    const auto* pane = dynamic_cast<PaneWidget*>(centralWidget());
    return pane ? pane->View() : nullptr;
}

void FrameWidget::Activated()
{
    g_active_frame = this;
    ShownAgain();
}

void FrameWidget::ShownAgain()
{
    if (ViewWidget* view = View())
        view->WantPaint();
}
