// SPDX-License-Identifier: MIT
// The settings of the application, in a small file. The file is read for each value, and replaced as a whole
// for each change. Nothing here waits, neither for another program that writes the file, nor for a FIFO or
// device with the file's name. Qt's own settings would wait half a minute for a lock that another machine has
// left, and would create objects from the file's text.
#include "platform/app.h"
#include "platform/file.h"
#include "platform/hooks.h"
#include "platform/profiletext.h"
#include "platform/qt/qt_cstring.h"
#include "platform/viewedmark.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <optional>

namespace
{
constexpr qint64 kMaxFileBytes = 1 << 20; // this program does not write a larger file

QString SettingsPath(const CString& company)
{
    if (const CString& path = Hooks::Get().settings_file; !path.IsEmpty())
        return ToQString(path);
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QLatin1Char('/') +
           ToQString(company) + QLatin1Char('/') + ToQString(AfxGetApp()->LoadString(AFX_IDS_APP_TITLE)) +
           QLatin1String(".ini");
}

// Returns the values of the file. If it does not exist, there are no values. Returns std::nullopt if the path
// is not a regular file, or if the file is too large or cannot be read. The file must then not be replaced.
std::optional<ProfileValues> ReadSettings(const QString& path)
{
    if (FileStatusOf(FromQString(path)).kind == FileStatus::Kind::none)
        return ProfileValues{};
    const int descriptor = OpenRegularFile(FromQString(path));
    QFile file;
    if (descriptor < 0 || !file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return std::nullopt;
    const QByteArray text = file.read(kMaxFileBytes + 1);
    if (text.size() > kMaxFileBytes || file.error() != QFileDevice::NoError)
        return std::nullopt;
    return ParseProfile(text.toStdString());
}

std::optional<std::string> ReadValue(const CString& company, const char* section, const char* key)
{
    const std::optional<ProfileValues> values = ReadSettings(SettingsPath(company));
    if (!values)
        return std::nullopt;
    const auto found = values->find(std::string(section) + '/' + key);
    return found == values->end() ? std::nullopt : std::optional(found->second);
}

bool WriteValue(const CString& company, const char* section, const char* key, std::string value)
{
    const QString path = SettingsPath(company);
    std::optional<ProfileValues> values = ReadSettings(path);
    if (!values)
        return false;
    std::string& stored = (*values)[std::string(section) + '/' + key];
    // Most values written at the end of a run have not changed. They are not written, because each
    // replacement waits for the disk.
    if (!stored.empty() && stored == value)
        return true;
    stored = std::move(value);
    const std::string text = ComposeProfile(*values);
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) &&
           file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size()) &&
           file.commit();
}
} // namespace

void CWinApp::SetRegistryKey(const CString& company)
{
    m_company = company;
}

int CWinApp::GetProfileInt(const char* section, const char* key, int default_value) const
{
    const std::optional<std::string> text = ReadValue(m_company, section, key);
    bool good = false;
    const int value = text ? QByteArray::fromStdString(*text).toInt(&good) : 0;
    return good ? value : default_value;
}

// A text ends at its first zero byte.
CString CWinApp::GetProfileString(const char* section, const char* key, const CString& default_value) const
{
    const std::optional<std::string> text = ReadValue(m_company, section, key);
    return text ? CString(text->c_str()) : default_value;
}

bool CWinApp::WriteProfileInt(const char* section, const char* key, int value)
{
    return WriteValue(m_company, section, key, std::to_string(value));
}

bool CWinApp::WriteProfileString(const char* section, const char* key, const CString& value)
{
    return WriteValue(m_company, section, key, std::string(value.View()));
}
