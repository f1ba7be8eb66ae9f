// The file dialog on Qt's side.
#pragma once

#include "platform/filedialog.h"
#include "platform/qt/peer.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileSystemModel>
#include <QGridLayout>
#include <QLineEdit>
#include <QSplitter>
#include <QTreeView>

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

// Parts of Qt's dialog to which Qt has no functions. They are found by name and class, which another version
// of Qt may have changed: each may be null or empty.
struct FileDialogParts {
    QFileSystemModel* model = nullptr; // of the entries
    QList<QAbstractItemView*> views;   // of the entries; they share their selection
    QLineEdit* name = nullptr;
    QDialogButtonBox* buttons = nullptr;
    QGridLayout* grid = nullptr;

    // Used if they are found.
    QComboBox* filters = nullptr;
    QTreeView* details = nullptr;
    QSplitter* splitter = nullptr;
};

class FileDialogWidget : public QFileDialog
{
public:
    FileDialogWidget(CFileDialog* owner, const CString& filter, StatusIcons* icons, QWidget* parent);

    // Whether the parts are there that the additions to Qt's dialog need: without one of them it is Qt's own
    // dialog, with no label and no entries to ask for.
    bool IsExtended() const;
    QLabel* Label() const { return m_label; } // null unless extended
    QModelIndex Entry(int row) const;         // of the directory that is shown
    QModelIndex Selected() const;             // an entry of the directory that is shown, or none
    bool IsDirectory(const QModelIndex& entry) const { return m_parts.model->isDir(entry); }
    QString Path(const QModelIndex& entry) const { return m_parts.model->filePath(entry); }

    void SelectFilter(int number); // from 1; no effect if there is no such filter
    int SelectedFilter() const;
    const QString& Chosen() const { return m_chosen; }

    void accept() override;

private:
    void FindParts();
    void Extend();
    void PlaceLabel();
    void PlaceColumns();
    void SelectionChanged();
    QModelIndex Directory() const { return m_parts.model->index(m_parts.model->rootPath()); }
    QString Named() const; // full path of the existing file or directory that the name field names, or empty
    bool AcceptWanted();   // false if Qt has to decide

    CFileDialog* m_owner;
    FileDialogParts m_parts;
    QLabel* m_label = nullptr;
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
