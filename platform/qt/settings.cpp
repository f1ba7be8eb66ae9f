// Settings: the toolkit finds, locks, merges and replaces the file; what stands in it is read and written by
// us. The toolkit's own reader makes objects of what a file says, as deep as the file wants.
#include "platform/app.h"
#include "platform/profiletext.h"
#include "platform/qt/peer.h"
#include "platform/qt/services.h"
#include "platform/viewedmark.h"

#include <QIODevice>
#include <QSettings>
#include <QStandardPaths>

CString g_settings_file;

namespace
{
constexpr qint64 kMostBytes = 1 << 20; // of a file; what is behind is no settings of ours

bool Read(QIODevice& device, QSettings::SettingsMap& map)
{
    for (const auto& [name, value] : ParseProfile(device.read(kMostBytes).toStdString()))
        map.insert(QString::fromStdString(name), QByteArray::fromStdString(value));
    return true;
}

bool Write(QIODevice& device, const QSettings::SettingsMap& map)
{
    ProfileValues values;
    for (auto entry = map.begin(); entry != map.end(); ++entry)
        values[entry.key().toStdString()] = entry.value().toByteArray().toStdString();
    const std::string text = ComposeProfile(values);
    return device.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size());
}

// Opened for each call: settings are read at the start and written at the end, and a key written at once must
// be there at once.
QSettings OpenSettings(const CString& company)
{
    static const QSettings::Format format = QSettings::registerFormat(QStringLiteral("ini"), Read, Write);
    const QString path = !g_settings_file.IsEmpty()
                             ? ToQString(g_settings_file)
                             : QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                                   QLatin1Char('/') + ToQString(company) + QLatin1Char('/') +
                                   ToQString(AfxGetApp()->LoadString(AFX_IDS_APP_TITLE)) +
                                   QLatin1String(".ini");
    // What is no file, as a FIFO, would be waited for: then there are no settings.
    const FileStatus status = FileStatusOf(FromQString(path));
    const bool is_usable = status.kind == FileStatus::Kind::none || status.IsFile();
    return QSettings(is_usable ? path : QStringLiteral("/dev/null/none"), format);
}

QString ProfileKey(const char* section, const char* key)
{
    return QString::fromUtf8(section) + QLatin1Char('/') + QString::fromUtf8(key);
}

bool WriteProfile(const CString& company, const QString& key, const QByteArray& value)
{
    QSettings settings = OpenSettings(company);
    settings.setValue(key, value);
    settings.sync();
    return settings.status() == QSettings::NoError;
}
} // namespace

void CWinApp::SetRegistryKey(const CString& company)
{
    m_company = company;
}

int CWinApp::GetProfileInt(const char* section, const char* key, int default_value) const
{
    bool good = false;
    const int value = OpenSettings(m_company).value(ProfileKey(section, key)).toByteArray().toInt(&good);
    return good ? value : default_value;
}

// A text ends at its first zero byte.
CString CWinApp::GetProfileString(const char* section, const char* key, const CString& default_value) const
{
    const QVariant value = OpenSettings(m_company).value(ProfileKey(section, key));
    return value.isValid() ? CString(value.toByteArray().constData()) : default_value;
}

bool CWinApp::WriteProfileInt(const char* section, const char* key, int value)
{
    return WriteProfile(m_company, ProfileKey(section, key), QByteArray::number(value));
}

bool CWinApp::WriteProfileString(const char* section, const char* key, const CString& value)
{
    return WriteProfile(m_company, ProfileKey(section, key), {value.c_str(), value.GetLength()});
}
