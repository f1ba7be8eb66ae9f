// The toolkit's side of the dialog for files.
#pragma once

#include "platform/filedialog.h"
#include "platform/qt/peer.h"

#include <QAbstractItemView>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileSystemModel>

// Folder or file, by its status alone: the toolkit's own icons open every file of a directory to look at what
// is in it. Asked from the thread that lists.
class StatusIcons : public QFileIconProvider
{
public:
    QIcon icon(IconType type) const override { return QFileIconProvider::icon(type); }
    QIcon icon(const QFileInfo& info) const override { return info.isDir() ? m_folder : m_file; }
    // Never empty: the toolkit would leave the entry out.
    QString type(const QFileInfo& info) const override
    {
        return info.isDir() ? QStringLiteral("Folder") : QStringLiteral("File");
    }

private:
    const QIcon m_folder = QFileIconProvider::icon(Folder);
    const QIcon m_file = QFileIconProvider::icon(File);
};

class FileDialogWidget : public QFileDialog
{
public:
    FileDialogWidget(CFileDialog* owner, const CString& filter, StatusIcons* icons, QWidget* parent);

    QLabel* Label() const { return m_label; }
    QModelIndex Directory() const { return m_model->index(m_model->rootPath()); }
    QModelIndex Selected() const; // an entry of the directory that shows, or none
    const QString& Chosen() const { return m_chosen; }

    void accept() override;
    QFileSystemModel* Model() const { return m_model; }
    QList<QAbstractItemView*> Views() const; // of the entries; they share their selection

private:
    void PlaceLabel();
    void PlaceColumns();
    void SelectionChanged();
    QString Named() const; // full path of the existing file or directory that the name field names, or empty

    CFileDialog* m_owner;
    QFileSystemModel* m_model;
    QLabel* m_label;
    QLineEdit* m_name = nullptr;
    bool m_is_typed = false; // the user has edited the name since the last choice in the list
    QString m_chosen;        // full path
};

class FileDialogPeer final : public WindowPeer
{
public:
    FileDialogPeer(CFileDialog* owner, const CString& filter, QWidget* parent)
        : m_widget(new FileDialogWidget(owner, filter, &m_icons, parent))
    {
    }
    ~FileDialogPeer() override { delete m_widget.data(); }
    QWidget* Widget() const override { return m_widget; }
    FileDialogWidget* Dialog() const { return m_widget; }

private:
    StatusIcons m_icons; // until the widget's thread has ended
    QPointer<FileDialogWidget> m_widget;
};

FileDialogWidget* FileDialogOf(const CFileDialog* dialog); // null if it is not open
