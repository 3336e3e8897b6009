#include "storage/SettingsStore.h"

#include "audio/SoundServer.h"
#include "storage/FailWith.h"
#include "storage/JsonFile.h"
#include "storage/PrivateDirectories.h"
#include "storage/SettingsDefaults.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMediaDevices>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kMicrophoneDeviceId = "microphoneDeviceId"_L1;
constexpr auto kRecordingHotkey = "recordingHotkey"_L1;
constexpr auto kPushToTalkMode = "pushToTalkMode"_L1;
constexpr auto kAutoStart = "autoStart"_L1;
constexpr auto kShowInTray = "showInTray"_L1;
constexpr auto kFirstRunComplete = "firstRunComplete"_L1;
constexpr auto kTelemetryOptIn = "telemetryOptIn"_L1;
constexpr auto kTranscriptionLanguage = "transcriptionLanguage"_L1;
constexpr auto kAutoPunctuation = "autoPunctuation"_L1;

const QString kDefaultHotkey = u"Super+Space"_s;
const QString kDefaultLanguage = u"auto"_s;

constexpr qint64 kStaleRecordingAgeMs = 86400000;

SettingsStore::Paths pathsBelow(const QString& configRoot)
{
    const QDir root(configRoot);
    return {configRoot, root.filePath(u"settings.json"_s), root.filePath(u"keys.json"_s),
        root.filePath(u"history.json"_s), root.filePath(u"spool"_s)};
}

void removeFilesOlderThan(qint64 cutoffMs, const QString& directory, const QString& nameFilter)
{
    if (!QFileInfo::exists(directory)) {
        return;
    }
    QDirIterator files(directory, {nameFilter}, QDir::Files);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        if (file.lastModified().toMSecsSinceEpoch() < cutoffMs) {
            QFile::remove(file.filePath());
        }
    }
}

} // namespace

SettingsStore::SettingsStore(QObject* parent)
    : QObject(parent)
    , m_paths(pathsBelow(configRootPath()))
    , m_recordingHotkey(kDefaultHotkey)
    , m_transcriptionLanguage(kDefaultLanguage)
{
}

QString SettingsStore::appVersion() const
{
    return QCoreApplication::applicationVersion();
}

void SettingsStore::setMicrophoneDeviceId(const QString& deviceId)
{
    if (store(m_microphoneDeviceId, deviceId)) {
        emit microphoneDeviceIdChanged();
    }
}

void SettingsStore::setRecordingHotkey(const QString& hotkey)
{
    if (store(m_recordingHotkey, hotkey)) {
        emit recordingHotkeyChanged();
    }
}

void SettingsStore::setPushToTalkMode(bool enabled)
{
    if (store(m_pushToTalkMode, enabled)) {
        emit pushToTalkModeChanged();
    }
}

void SettingsStore::setAutoStart(bool enabled)
{
    if (store(m_autoStart, enabled)) {
        applyAutoStart(enabled);
        emit autoStartChanged();
    }
}

void SettingsStore::setShowInTray(bool enabled)
{
    if (store(m_showInTray, enabled)) {
        emit showInTrayChanged();
    }
}

void SettingsStore::setFirstRunComplete(bool complete)
{
    if (store(m_firstRunComplete, complete)) {
        emit firstRunCompleteChanged();
    }
}

void SettingsStore::setTelemetryOptIn(bool enabled)
{
    if (store(m_telemetryOptIn, enabled)) {
        emit telemetryOptInChanged();
    }
}

void SettingsStore::setTranscriptionLanguage(const QString& language)
{
    if (store(m_transcriptionLanguage, language)) {
        emit transcriptionLanguageChanged();
    }
}

void SettingsStore::setAutoPunctuation(bool enabled)
{
    if (store(m_autoPunctuation, enabled)) {
        emit autoPunctuationChanged();
    }
}

QVariantList SettingsStore::audioInputDevices() const
{
    const QAudioDevice defaultDevice = QMediaDevices::defaultAudioInput();
    const QList<QAudioDevice> devices = QMediaDevices::audioInputs();
    // Qt goes on listing what has been taken away.
    const std::optional<QList<QByteArray>> present = SoundServer().sources();
    QVariantList records;
    records.reserve(devices.size());
    for (const QAudioDevice& device : devices) {
        if (present && !present->contains(device.id())) {
            continue;
        }
        records.append(QVariantMap{
            {u"id"_s, QString::fromUtf8(device.id())},
            {u"name"_s, device.description()},
            {u"isDefault"_s, device.id() == defaultDevice.id()},
        });
    }
    return records;
}

bool SettingsStore::applyAutoStart(bool enabled)
{
    const QString path = autostartDesktopPath();
    if (!enabled) {
        return !QFile::exists(path) || QFile::remove(path);
    }
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    const QByteArray content = autostartDesktopContent();
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && file.write(content) == content.size() && commitWhole(file);
}

void SettingsStore::resetToDefaults()
{
    writeJsonFile(m_paths.settingsFile, defaultSettingsJson(), nullptr);
    loadFromDisk();
    // Whoever shows a setting rereads it, changed or not. firstRunComplete is no preference and
    // stays unannounced.
    emit microphoneDeviceIdChanged();
    emit recordingHotkeyChanged();
    emit pushToTalkModeChanged();
    emit autoStartChanged();
    emit showInTrayChanged();
    emit telemetryOptInChanged();
    emit transcriptionLanguageChanged();
    emit autoPunctuationChanged();
}

void SettingsStore::flush()
{
    persistToDisk();
}

bool SettingsStore::ensureScaffold(QString* error)
{
    const bool complete = ensureDirectory(m_paths.configRoot, error)
        && ensureDirectory(m_paths.spoolDirectory, error)
        && ensureJsonFile(m_paths.settingsFile, defaultSettingsJson(), error)
        && ensureJsonFile(m_paths.keysFile, defaultKeysJson(), error)
        && ensureJsonFile(m_paths.historyFile, defaultHistoryJson(), error);
    if (complete) {
        loadFromDisk();
    }
    return complete;
}

void SettingsStore::cleanStaleCacheFiles() const
{
    const qint64 cutoffMs = QDateTime::currentMSecsSinceEpoch() - kStaleRecordingAgeMs;
    removeFilesOlderThan(cutoffMs, m_paths.spoolDirectory, u"*.wav"_s);
    // The cache directory isn't ours alone in the way the spool is: only our own names go.
    removeFilesOlderThan(cutoffMs, cacheRootPath(), u"tarq-linux-*.wav"_s);
}

bool SettingsStore::ensureDirectory(const QString& path, QString* error) const
{
    if (!QDir().mkpath(path)) {
        return failWith(error, u"Failed to create directory: %1"_s.arg(path));
    }
    if (!QFile::setPermissions(path, kPrivateDirectoryPermissions)) {
        return failWith(error, u"Failed to set directory permissions: %1"_s.arg(path));
    }
    return true;
}

bool SettingsStore::ensureJsonFile(
    const QString& path, const QByteArray& defaultContent, QString* error) const
{
    if (!QFile::exists(path) || !isJsonObjectFileValid(path)) {
        return writeJsonFile(path, defaultContent, error);
    }
    if (!QFile::setPermissions(path, kPrivateFilePermissions)) {
        return failWith(error, u"Failed to set file permissions: %1"_s.arg(path));
    }
    return true;
}

void SettingsStore::loadFromDisk()
{
    const std::optional<QJsonObject> settings = readJsonObject(m_paths.settingsFile);
    if (!settings) {
        return;
    }
    m_microphoneDeviceId = settings->value(kMicrophoneDeviceId).toString();
    m_recordingHotkey = settings->value(kRecordingHotkey).toString(kDefaultHotkey);
    m_pushToTalkMode = settings->value(kPushToTalkMode).toBool(true);
    m_autoStart = settings->value(kAutoStart).toBool(false);
    m_showInTray = settings->value(kShowInTray).toBool(true);
    m_firstRunComplete = settings->value(kFirstRunComplete).toBool(false);
    m_telemetryOptIn = settings->value(kTelemetryOptIn).toBool(false);
    m_transcriptionLanguage = settings->value(kTranscriptionLanguage).toString(kDefaultLanguage);
    m_autoPunctuation = settings->value(kAutoPunctuation).toBool(true);
}

void SettingsStore::persistToDisk() const
{
    const QJsonObject settings{
        {kMicrophoneDeviceId, m_microphoneDeviceId},
        {kRecordingHotkey, m_recordingHotkey},
        {kPushToTalkMode, m_pushToTalkMode},
        {kAutoStart, m_autoStart},
        {kShowInTray, m_showInTray},
        {kFirstRunComplete, m_firstRunComplete},
        {kTelemetryOptIn, m_telemetryOptIn},
        {kTranscriptionLanguage, m_transcriptionLanguage},
        {kAutoPunctuation, m_autoPunctuation},
    };
    writeJsonFile(
        m_paths.settingsFile, QJsonDocument(settings).toJson(QJsonDocument::Indented), nullptr);
}

template <typename T> bool SettingsStore::store(T& member, const T& value)
{
    if (member == value) {
        return false;
    }
    member = value;
    persistToDisk();
    return true;
}
