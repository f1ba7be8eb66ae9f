// The toolkit's side of the dialog for files.
#pragma once

#include "platform/filedialog.h"
#include "platform/qt/peer.h"

#include <QAbstractItemView>
#include <QFileDialog>
#include <QFileSystemModel>

class FileDialogWidget : public QFileDialog
{
public:
    FileDialogWidget(CFileDialog* owner, const CString& filter, QWidget* parent);

    QLabel* Label() const { return m_label; }
    QModelIndex Directory() const { return m_model->index(m_model->rootPath()); }
    QModelIndex Selected() const; // an entry of the directory that shows, or none
    QFileSystemModel* Model() const { return m_model; }
    QList<QAbstractItemView*> Views() const; // of the entries; they share their selection

private:
    void PlaceLabel();
    void PlaceColumns();
    void SelectionChanged();

    CFileDialog* m_owner;
    QFileSystemModel* m_model;
    QLabel* m_label;
};

class FileDialogPeer final : public WindowPeer
{
public:
    FileDialogPeer(CFileDialog* owner, const CString& filter, QWidget* parent)
        : m_widget(new FileDialogWidget(owner, filter, parent))
    {
    }
    ~FileDialogPeer() override { delete m_widget.data(); }
    QWidget* Widget() const override { return m_widget; }
    FileDialogWidget* Dialog() const { return m_widget; }

private:
    QPointer<FileDialogWidget> m_widget;
};

FileDialogWidget* FileDialogOf(const CFileDialog* dialog); // null if it is not open
