// The widget of a frame: menu, accelerators, status bar, place on the screen.
#include "platform/qt/longwork.h"
#include "platform/qt/peer.h"
#include "platform/qt/queue.h"

#include "platform/app.h"
#include "platform/displaytext.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QGuiApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPaintEvent>
#include <QPixmap>
#include <QScreen>
#include <QSysInfo>
#include <QTimer>
#include <QUrl>
#include <QWindow>
#include <QWindowStateChangeEvent>
#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
// The minimum size of a frame must not depend on its content, because a page may have any size.
constexpr int kLeastWidth = 160; // in logical units
constexpr int kLeastHeight = 120;
constexpr int kSettleMs = 50; // time without events after which place and state are matched

constexpr size_t kPaneBytes = 255;

QPointer<FrameWidget> g_active_frame; // the last active one while another program is active

bool IsThisHost(const QString& host)
{
    return host.isEmpty() || host == QLatin1String("localhost") || host == QSysInfo::machineHostName();
}

// Returns the number of logical units that cover the device pixels.
int CoveringUnits(int64_t device_pixels, double ratio)
{
    // A whole number of units, multiplied by the ratio and rounded, must convert back to itself.
    constexpr double kRounding = 0.5;
    return static_cast<int>(std::ceil((static_cast<double>(device_pixels) - kRounding) / ratio));
}

int ToLogical(int device_pixels, double ratio)
{
    return static_cast<int>(std::floor(device_pixels / ratio + 0.5));
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

bool IsWayland()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

xcb_connection_t* XConnection()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return nullptr;
    auto* const display = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return display ? display->connection() : nullptr;
}

bool IsOnAScreen(const QRect& rect)
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    return !rect.isEmpty() && std::any_of(screens.begin(), screens.end(), [&rect](const QScreen* screen) {
        return screen->geometry().intersects(rect);
    });
}

QWidget* ParentForBox()
{
    if (QWidget* const above = QApplication::activeModalWidget())
        return above;
    if (g_active_frame && g_active_frame->isVisible())
        return g_active_frame;
    return FrameOf(AfxGetMainWnd());
}

QSize AllScreens()
{
    double ratio = 1;
    for (const QScreen* screen : QGuiApplication::screens())
        ratio = std::max(ratio, screen->devicePixelRatio());
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const QSize logical = screen ? screen->virtualSize() : QSize();
    if (logical.isEmpty()) // all screens are off at the moment
        return {QWIDGETSIZE_MAX, QWIDGETSIZE_MAX};
    return {ToDevicePixels(logical.width(), ratio), ToDevicePixels(logical.height(), ratio)};
}

FrameWidget::FrameWidget(CFrameWnd* owner, const CREATESTRUCT& cs) : m_owner(owner)
{
    setMinimumSize(kLeastWidth, kLeastHeight);
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

CRect FrameWidget::FrameToDevice() const
{
    const double ratio = devicePixelRatioF();
    const QRect frame = frameGeometry();
    return {ToDevicePixels(frame.left(), ratio), ToDevicePixels(frame.top(), ratio),
            ToDevicePixels(frame.left() + frame.width(), ratio),
            ToDevicePixels(frame.top() + frame.height(), ratio)};
}

void FrameWidget::PlaceFrame(const CRect& rect)
{
    const double ratio = devicePixelRatioF();
    const QScreen* const screen = QGuiApplication::primaryScreen();
    QRect wanted = screen ? screen->geometry() : QRect(0, 0, kLeastWidth, kLeastHeight);
    // The settings may contain any numbers. The window is never larger than all screens together, and is on a
    // screen.
    const QSize most = screen ? screen->virtualSize() : wanted.size();
    const QRect bounded(QPoint(ToLogical(rect.left, ratio), ToLogical(rect.top, ratio)),
                        QSize(CoveringUnits(int64_t{rect.right} - rect.left, ratio),
                              CoveringUnits(int64_t{rect.bottom} - rect.top, ratio))
                            .boundedTo(most));
    if (IsOnAScreen(bounded))
        wanted = bounded;
    m_wanted = {ToDevicePixels(wanted.left(), ratio), ToDevicePixels(wanted.top(), ratio),
                ToDevicePixels(wanted.left() + wanted.width(), ratio),
                ToDevicePixels(wanted.top() + wanted.height(), ratio)};
    m_normal = m_wanted;
    if (isVisible()) // then the margins are known
        m_wanted = {};
    const QSize margins = frameGeometry().size() - size();
    resize(wanted.size() - margins);
    if (!IsWayland()) // on Wayland a program cannot place its windows
        move(wanted.topLeft());
}

bool FrameWidget::IsTooLarge() const
{
    return IsWayland() && screen() && width() >= screen()->geometry().width() &&
           height() >= screen()->geometry().height();
}

// If the user makes the window smaller, it gets three quarters of the screen.
void FrameWidget::ShowInsteadMaximized()
{
    m_wanted = {};
    resize(screen()->geometry().size() * 3 / 4);
    showMaximized();
}

void FrameWidget::PlaceClient(CPoint corner, CSize client)
{
    m_wanted = {};
    const QSize most = AllScreens();
    client = {std::min(client.cx, most.width()), std::min(client.cy, most.height())};
    m_wantedClient = client;
    setMinimumSize(1, 1);
    const double ratio = devicePixelRatioF();
    resize(std::max(1, CoveringUnits(client.cx, ratio)), std::max(1, CoveringUnits(client.cy, ratio)));
    if (!IsWayland())
        move(ToLogical(corner.x, ratio), ToLogical(corner.y, ratio));
}

// Size hints may have made the client area a pixel too small. Then requests one more logical pixel, once.
void FrameWidget::MatchClient()
{
    if (m_wantedClient.cx == 0 && m_wantedClient.cy == 0)
        return;
    const CSize wanted = std::exchange(m_wantedClient, {});
    const double ratio = devicePixelRatioF();
    const auto grown = [ratio](int shown, int device_pixels) {
        const int covering = CoveringUnits(device_pixels, ratio);
        return ToDevicePixels(shown, ratio) < device_pixels && shown + 1 >= covering ? covering + 1 : shown;
    };
    const QSize size_wanted(grown(width(), wanted.cx), grown(height(), wanted.cy));
    if (size_wanted != size())
        resize(size_wanted);
}

void FrameWidget::MatchPlace()
{
    if (m_wanted.IsEmpty() || m_fullScreen ||
        (windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized)))
        return;
    const double ratio = devicePixelRatioF();
    const QSize wanted(CoveringUnits(m_wanted.Width(), ratio), CoveringUnits(m_wanted.Height(), ratio));
    m_wanted = {};
    const QSize margins = frameGeometry().size() - size();
    if (!margins.isNull() && size() + margins != wanted)
        resize(wanted - margins);
    RecordPlace();
}

// The margins are known now. The window manager may still correct the size.
void FrameWidget::Shown()
{
    MatchPlace();
    if (m_wantedClient.cx != 0 || m_wantedClient.cy != 0)
        m_settle.start();
}

// A window that is maximised from the start gets its margins when it is made smaller. This happens by several
// events whose order depends on the window manager.
void FrameWidget::MatchPlaceSoon()
{
    if (isVisible() && !m_placing && !m_wanted.IsEmpty())
        m_settle.start();
}

void FrameWidget::RecordPlace()
{
    if (isVisible() && m_wanted.IsEmpty() && !m_fullScreen &&
        !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized)))
        m_normal = FrameToDevice();
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
    // The files are opened later. A page may show a box, and the program that the files come from waits for
    // the end of this event.
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

void FrameWidget::ShowFullScreen(bool on)
{
    if (on == m_fullScreen)
        return;
    if (on && !m_restoring)
        m_wasMaximized = isMaximized();
    m_restoring = !on;
    m_stateRetries = 1;
    SetFullScreen(on);
    SetFullScreenState();
}

void FrameWidget::SetFullScreen(bool on)
{
    m_fullScreen = on;
    if (!on)
        m_wanted = m_normal; // as at the start, size and margins arrive by several events
    if (QWidget* const menu = menuWidget())
        menu->setVisible(!on);
    for (QShortcut* const key : m_fullScreenKeys)
        key->setEnabled(on);
}

// A window manager reports intermediate states: a maximised window may first be a normal one. A request may
// be lost meanwhile. So MatchFullScreen checks the states after no more of them arrive.
void FrameWidget::SetFullScreenState()
{
    if (m_fullScreen)
        setWindowState(windowState() | Qt::WindowFullScreen);
    else
        setWindowState(m_wasMaximized ? Qt::WindowMaximized : Qt::WindowNoState);
    m_settle.start();
}

void FrameWidget::MatchFullScreen()
{
    const bool is_as_requested =
        isFullScreen() == m_fullScreen && (!m_restoring || isMinimized() || isMaximized() == m_wasMaximized);
    if (!is_as_requested && m_stateRetries > 0) {
        --m_stateRetries;
        SetFullScreenState();
        return;
    }
    m_restoring = false;
    m_stateRetries = 0;
    if (isFullScreen() != m_fullScreen) { // the window manager has changed it
        m_wasMaximized = isMaximized();
        SetFullScreen(isFullScreen());
    }
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
    // The window manager reports its margins when it shows the window, by events that are handled before this
    // call.
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
        // Qt sends pixels of the window from its own store, without a paint event for each widget.
        if (view && (event->type() == QEvent::Expose || event->type() == QEvent::Paint))
            view->StoreIsUsed();
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

FramePeer::FramePeer(CFrameWnd* owner, const CREATESTRUCT& cs) : m_widget(new FrameWidget(owner, cs))
{
    WindowPeer::SetText(ToQString(cs.title));
}

FramePeer::~FramePeer()
{
    if (!m_widget)
        return;
    m_widget->Detach();
    // A box that is still open is on the stack, so it must not be deleted with its parent. Removing the
    // parent also ends the box.
    for (QDialog* const box : m_widget->findChildren<QDialog*>(QString(), Qt::FindDirectChildrenOnly))
        box->setParent(nullptr);
    m_widget->hide();
    m_widget->deleteLater();
}

void CFrameWnd::MakePeer(const CREATESTRUCT& cs)
{
    m_peer = std::make_unique<FramePeer>(this, cs);
}

void CFrameWnd::PlaceClient(CPoint corner, CSize client)
{
    if (FrameWidget* widget = FrameOf(this))
        widget->PlaceClient(corner, client);
}

void CFrameWnd::ShowFullScreen(bool on)
{
    if (FrameWidget* widget = FrameOf(this))
        widget->ShowFullScreen(on);
}

bool CFrameWnd::IsFullScreen() const
{
    const FrameWidget* widget = FrameOf(this);
    return widget && widget->IsFullScreen();
}

namespace
{
StatusPeer* StatusOf(const CStatusBar* bar)
{
    return static_cast<StatusPeer*>(bar->Peer());
}

StatusPeer::Pane* PaneAt(const CStatusBar* bar, int index)
{
    StatusPeer* peer = StatusOf(bar);
    return peer && index >= 0 && static_cast<size_t>(index) < peer->panes.size()
               ? &peer->panes[static_cast<size_t>(index)]
               : nullptr;
}

void ShowPane(StatusPeer::Pane& pane)
{
    const QString text = pane.enabled ? ToQString(DisplayText(pane.text, kPaneBytes)) : QString();
    if (pane.label && pane.label->text() != text)
        pane.label->setText(text);
}
} // namespace

StatusPeer::StatusPeer(QMainWindow* frame) : m_bar(new QStatusBar(frame))
{
    frame->setStatusBar(m_bar);
}

StatusPeer::~StatusPeer()
{
    if (m_bar) {
        m_bar->hide();
        m_bar->deleteLater();
    }
}

bool CStatusBar::Create(CFrameWnd* parent)
{
    FrameWidget* frame = FrameOf(parent);
    if (!frame)
        return false;
    m_parent = parent;
    m_peer = std::make_unique<StatusPeer>(frame);
    parent->m_statusBar = this;
    return true;
}

bool CStatusBar::SetIndicators(std::span<const UINT> ids)
{
    StatusPeer* peer = StatusOf(this);
    if (!peer || !AfxGetApp())
        return false;
    auto* bar = static_cast<QStatusBar*>(peer->Widget());
    for (const UINT id : ids) {
        auto* label = new QLabel(bar);
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::NoTextInteraction);
        if (id == ID_SEPARATOR) {
            label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
            bar->addWidget(label, 1); // while the user points at a menu entry, the entry's prompt covers it
        } else {
            label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
            label->setMargin(2);
            label->setText(ToQString(AfxGetApp()->LoadString(id)));
            // In both directions. Otherwise a new text would cause a new layout and paint of the whole bar.
            label->setFixedSize(label->sizeHint() + QSize(label->fontMetrics().averageCharWidth(), 0));
            bar->addPermanentWidget(label);
        }
        peer->panes.push_back({id, label, CString{}, true});
        ShowPane(peer->panes.back());
    }
    return true;
}

bool CStatusBar::SetPaneText(int index, const CString& text)
{
    StatusPeer::Pane* pane = PaneAt(this, index);
    if (!pane)
        return false;
    pane->text = text;
    ShowPane(*pane);
    return true;
}

CString CStatusBar::GetPaneText(int index) const
{
    const StatusPeer::Pane* pane = PaneAt(this, index);
    return pane && pane->label ? FromQString(pane->label->text()) : CString{};
}

void CStatusBar::EnablePane(int index, bool on)
{
    if (StatusPeer::Pane* pane = PaneAt(this, index)) {
        pane->enabled = on;
        ShowPane(*pane);
    }
}

int CStatusBar::GetPaneCount() const
{
    const StatusPeer* peer = StatusOf(this);
    return peer ? static_cast<int>(peer->panes.size()) : 0;
}

UINT CStatusBar::GetPaneId(int index) const
{
    const StatusPeer::Pane* pane = PaneAt(this, index);
    return pane ? pane->id : 0;
}
