#include "storage/HistoryRepository.h"

#include "storage/JsonFile.h"

#include <QClipboard>
#include <QDateTime>
#include <QDir>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaxEntries = 100;

constexpr auto kEntries = "entries"_L1;
constexpr auto kId = "id"_L1;
constexpr auto kText = "text"_L1;
constexpr auto kCreatedAt = "createdAt"_L1;

// Numbers come from a file that anybody may have edited, or from QML. Nothing for one that no
// 64-bit integer can hold: converting it is undefined.
std::optional<qint64> truncatedToInt64(double value)
{
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    if (value > -kLimit && value < kLimit) {
        return static_cast<qint64>(value);
    }
    return std::nullopt;
}

QString localIsoTime(qint64 msSinceEpoch)
{
    return QDateTime::fromMSecsSinceEpoch(msSinceEpoch).toString(Qt::ISODate);
}

QVariantMap toVariantMap(const HistoryEntry& entry)
{
    return {
        {kId, static_cast<double>(entry.id)},
        {kText, entry.text},
        {kCreatedAt, static_cast<double>(entry.createdAt)},
    };
}

QJsonObject toJson(const HistoryEntry& entry)
{
    return {
        {kId, static_cast<double>(entry.id)},
        {kText, entry.text},
        {kCreatedAt, static_cast<double>(entry.createdAt)},
    };
}

QByteArray exportedAsJson(const QList<HistoryEntry>& entries)
{
    QJsonArray array;
    for (const HistoryEntry& entry : entries) {
        QJsonObject object = toJson(entry);
        object.insert("createdAtIso"_L1, localIsoTime(entry.createdAt));
        array.append(object);
    }
    const QJsonObject document{
        {"exported_at"_L1, QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
        {"count"_L1, entries.size()},
        {kEntries, array},
    };
    return QJsonDocument(document).toJson(QJsonDocument::Indented);
}

QByteArray exportedAsText(const QList<HistoryEntry>& entries)
{
    QString body;
    for (const HistoryEntry& entry : entries) {
        // One substitution for both, so that a "%1" in a transcript stays as it was spoken.
        body += u"[%1] %2\n\n"_s.arg(localIsoTime(entry.createdAt), entry.text);
    }
    return body.toUtf8();
}

} // namespace

HistoryRepository::HistoryRepository(const QString& filePath, QObject* parent)
    : QObject(parent)
    , m_filePath(filePath)
{
    load();
}

QVariantList HistoryRepository::entriesAsVariant() const
{
    QVariantList all;
    for (const HistoryEntry& entry : m_entries) {
        all.append(toVariantMap(entry));
    }
    return all;
}

void HistoryRepository::add(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return;
    }
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    m_entries.prepend({now, trimmed, now});
    while (m_entries.size() > kMaxEntries) {
        m_entries.removeLast();
    }
    handleChange();
}

void HistoryRepository::removeEntry(double id)
{
    const std::optional<qint64> wanted = truncatedToInt64(id);
    const auto hasId = [wanted](const HistoryEntry& entry) {
        return entry.id == wanted;
    };
    if (m_entries.removeIf(hasId) > 0) {
        handleChange();
    }
}

void HistoryRepository::clearAll()
{
    if (m_entries.isEmpty()) {
        return;
    }
    m_entries.clear();
    handleChange();
}

void HistoryRepository::copyToClipboard(const QString& text)
{
    if (QClipboard* clipboard = QGuiApplication::clipboard()) {
        clipboard->setText(text, QClipboard::Clipboard);
    }
}

QVariantList HistoryRepository::searchEntries(const QString& needle) const
{
    const QString wanted = needle.trimmed().toLower();
    if (wanted.isEmpty()) {
        return entriesAsVariant();
    }
    if (m_lowerCasedTexts.isEmpty()) {
        for (const HistoryEntry& entry : m_entries) {
            m_lowerCasedTexts.append(entry.text.toLower());
        }
    }
    QVariantList found;
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        if (m_lowerCasedTexts.at(i).contains(wanted)) {
            found.append(toVariantMap(m_entries.at(i)));
        }
    }
    return found;
}

QString HistoryRepository::exportToFile(const QString& format)
{
    if (m_entries.isEmpty()) {
        return {};
    }
    const QDir directory(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    directory.mkpath(u"."_s);

    const bool asJson = format.compare("json"_L1, Qt::CaseInsensitive) == 0;
    const QString stamp = QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    const QString path
        = directory.filePath(u"tarq-history-%1.%2"_s.arg(stamp, asJson ? u"json"_s : u"txt"_s));

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return {};
    }
    const QByteArray body = asJson ? exportedAsJson(m_entries) : exportedAsText(m_entries);
    return file.write(body) == body.size() && commitWhole(file) ? path : QString();
}

void HistoryRepository::load()
{
    const QJsonObject document = readJsonObject(m_filePath).value_or(QJsonObject());
    const QJsonArray array = document.value(kEntries).toArray();
    for (const auto& value : array) {
        const QJsonObject object = value.toObject();
        const QString text = object.value(kText).toString().trimmed();
        if (text.isEmpty()) {
            continue;
        }
        m_entries.append({truncatedToInt64(object.value(kId).toDouble()).value_or(0), text,
            truncatedToInt64(object.value(kCreatedAt).toDouble()).value_or(0)});
    }
    std::sort(m_entries.begin(), m_entries.end(),
        [](const HistoryEntry& a, const HistoryEntry& b) { return a.createdAt > b.createdAt; });
}

void HistoryRepository::persist() const
{
    QJsonArray array;
    for (const HistoryEntry& entry : m_entries) {
        array.append(toJson(entry));
    }
    const QJsonDocument document(QJsonObject{{kEntries, array}});
    writeJsonFile(m_filePath, document.toJson(QJsonDocument::Indented), nullptr);
}

void HistoryRepository::handleChange()
{
    m_lowerCasedTexts.clear();
    persist();
    emit historyChanged();
}
