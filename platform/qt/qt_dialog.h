// The Qt side of dialogs and their controls.
#pragma once

#include "platform/dialog.h"
#include "platform/qt/peer.h"
#include "platform/resources.h"

#include <QAbstractListModel>
#include <QBasicTimer>
#include <QDialog>
#include <QHash>
#include <QListView>
#include <functional>

// Returns a name that can be shown in one line. Control characters, and characters that would break the line
// or change the reading direction, become the replacement character.
[[nodiscard]] QString Showable(QString text);

// The names of a list box, as bytes. They are converted when they are shown.
class NameModel : public QAbstractListModel
{
public:
    using QAbstractListModel::QAbstractListModel;

    void Set(std::vector<CString> names);
    [[nodiscard]] const std::vector<CString>& Names() const { return m_names; }
    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    std::vector<CString> m_names;
};

class NameList : public QListView
{
public:
    explicit NameList(QWidget* parent);

    [[nodiscard]] NameModel& Names() { return *m_model; }
    QSize sizeHint() const override;

    std::function<void(UINT code)> notify;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    NameModel* m_model;
    bool m_is_left = false;    // the last double click was made with the left button
    bool m_is_handled = false; // the last press was a double click, and its notification has been sent
};

class DialogWidget : public QDialog
{
public:
    DialogWidget(CDialog* owner, const DialogTemplate& contents, QWidget* parent);

    void Detach() { m_owner = nullptr; }
    [[nodiscard]] CDialog* Owner() const { return m_owner; }
    [[nodiscard]] const DialogTemplate& Contents() const { return m_contents; }
    [[nodiscard]] QWidget* Control(UINT id) const { return m_controls.value(id); } // null if there is none
    [[nodiscard]] QWidget* FirstControl() const { return m_first; }
    // Sends the notification to the dialog object.
    void Notify(UINT id, UINT code);
    void StartWork();
    void StopWork();

    void reject() override; // called for Escape and the window's close button

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    [[nodiscard]] QWidget* MakeItem(const DialogItem& item);

    CDialog* m_owner;
    const DialogTemplate& m_contents;
    QHash<UINT, QWidget*> m_controls;
    QWidget* m_first = nullptr;
    QBasicTimer m_work;
    bool m_is_working = false; // OnWork is running
    bool m_wants_work = false; // StartWork was called, and the work has not ended
};

class DialogPeer final : public WindowPeer
{
public:
    DialogPeer(CDialog* owner, const DialogTemplate& contents, QWidget* parent);
    ~DialogPeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_widget; }
    [[nodiscard]] DialogWidget* Dialog() const { return m_widget; }

private:
    QPointer<DialogWidget> m_widget;
};

// The peer of a control. The dialog owns the widget.
class ControlPeer final : public WindowPeer
{
public:
    explicit ControlPeer(QWidget* widget) : m_widget(widget) {}
    [[nodiscard]] QWidget* Widget() const override { return m_widget; }
    [[nodiscard]] QString Text() const override;
    void SetText(const QString& text) override;

private:
    QPointer<QWidget> m_widget;
};

[[nodiscard]] DialogWidget* DialogOf(const CWnd* window); // null if it is no open dialog
