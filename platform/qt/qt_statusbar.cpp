// SPDX-License-Identifier: MIT
// The functions of the status bar that use Qt. Each pane is a label.
#include "platform/statusbar.h"

#include "platform/app.h"
#include "platform/displaytext.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_framewnd.h"
#include "platform/qt/qt_wnd.h"

#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QStatusBar>
#include <memory>
#include <vector>

namespace
{
constexpr size_t kPaneBytes = 255;

class StatusPeer final : public WindowPeer
{
public:
    explicit StatusPeer(QMainWindow* frame);
    ~StatusPeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_bar; }

    struct Pane {
        UINT id;
        QPointer<QLabel> label;
        CString text;
        bool enabled;
    };
    std::vector<Pane> panes;

private:
    QPointer<QStatusBar> m_bar;
};

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

bool CStatusBar::Create(CFrameWnd* parent, uint32_t, UINT)
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
            // Width and height are fixed. Otherwise a new text would cause a new layout and paint of the
            // whole bar.
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
