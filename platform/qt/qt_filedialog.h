// SPDX-License-Identifier: MIT
// The peer and the widget of the file dialog. The widget is Qt's own file dialog, to which it adds a label
// and notifications for CFileDialog.
#pragma once

#include "platform/filedialog.h"
#include "platform/qt/qt_wnd.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileSystemModel>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QSplitter>
#include <QTreeView>

// The icon of a folder or file, by its status alone. Qt's own icons open every file of a directory to read
// its type. Qt calls this from the thread that reads directories.
class StatusIcons : public QFileIconProvider
{
public:
    QIcon icon(IconType type) const override { return QFileIconProvider::icon(type); }
    QIcon icon(const QFileInfo& info) const override { return info.isDir() ? m_folder : m_file; }
    // Must not be empty. Otherwise Qt would skip the entry.
    QString type(const QFileInfo& info) const override
    {
        return info.isDir() ? QStringLiteral("Folder") : QStringLiteral("File");
    }

private:
    const QIcon m_folder = QFileIconProvider::icon(Folder);
    const QIcon m_file = QFileIconProvider::icon(File);
};

// Parts of Qt's dialog that no function of Qt returns. They are found by name and class. Another version of
// Qt may have changed these, so each part may be null or empty.
struct FileDialogParts {
    QFileSystemModel* model = nullptr; // of the entries
    QList<QAbstractItemView*> views;   // of the entries; they share their selection
    QLineEdit* name = nullptr;
    QDialogButtonBox* buttons = nullptr;
    QGridLayout* grid = nullptr;

    // The dialog works without these.
    QComboBox* filters = nullptr;
    QTreeView* details = nullptr;
    QSplitter* splitter = nullptr;
};

class FileDialogWidget : public QFileDialog
{
public:
    FileDialogWidget(CFileDialog* owner, const CString& filter, StatusIcons* icons, QWidget* parent);

    [[nodiscard]] CFileDialog* Owner() const { return m_owner; }
    // Returns true if the parts for the additions to Qt's dialog were found. If one is missing, the dialog is
    // Qt's own, without label and without access to entries.
    [[nodiscard]] bool IsExtended() const;
    [[nodiscard]] QLabel* Label() const { return m_label; } // null unless extended
    [[nodiscard]] QModelIndex Entry(int row) const;         // of the shown directory
    [[nodiscard]] QModelIndex Selected() const;             // an entry of the shown directory, or none
    [[nodiscard]] bool IsDirectory(const QModelIndex& entry) const { return m_parts.model->isDir(entry); }
    [[nodiscard]] QString Path(const QModelIndex& entry) const { return m_parts.model->filePath(entry); }

    void SelectFilter(int number); // from 1; no effect if there is no such filter
    [[nodiscard]] int SelectedFilter() const;
    [[nodiscard]] const QString& Chosen() const { return m_chosen; }

    void accept() override;

private:
    void FindParts();
    void Extend();
    void PlaceLabel();
    void PlaceColumns();
    void SelectionChanged();
    [[nodiscard]] QModelIndex Directory() const { return m_parts.model->index(m_parts.model->rootPath()); }
    // Returns the full path of the existing file or directory named in the name field, or an empty text.
    [[nodiscard]] QString Named() const;
    [[nodiscard]] bool AcceptWanted(); // false if Qt must decide

    CFileDialog* m_owner;
    FileDialogParts m_parts;
    QLabel* m_label = nullptr;
    bool m_is_typed = false; // the user has edited the name since the last selection in the list
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
    [[nodiscard]] QWidget* Widget() const override { return m_widget; }
    [[nodiscard]] FileDialogWidget* Dialog() const { return m_widget; }

private:
    StatusIcons m_icons; // destroyed after the widget, whose thread uses the icons
    QPointer<FileDialogWidget> m_widget;
};

[[nodiscard]] FileDialogWidget* FileDialogOf(const CFileDialog* dialog); // null if it is not open
