// SPDX-License-Identifier: MIT
// The widget of a list box. Receives the names from CListBox, and shows them sorted. Reports double clicks to
// the dialog.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

#include <QAbstractListModel>
#include <QListView>
#include <functional>
#include <vector>

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

    std::function<void(UINT code)> notify; // called with LBN_DBLCLK

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
