#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

struct HistoryEntry {
    qint64 id = 0; ///< milliseconds since the epoch at the moment of adding
    QString text; ///< trimmed, never empty
    qint64 createdAt = 0; ///< milliseconds since the epoch
};

// The last hundred transcripts, newest first. The file is read once, in the constructor; from then
// on memory is the authority, and the whole file is written after each change. A file that can't be
// read gives an empty history, a write that fails is silent. Created by main; QML shows it.
class HistoryRepository final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList entries READ entriesAsVariant NOTIFY historyChanged)
    Q_PROPERTY(int count READ count NOTIFY historyChanged)

public:
    explicit HistoryRepository(const QString& filePath, QObject* parent = nullptr);

    [[nodiscard]] QList<HistoryEntry> list() const { return m_entries; }
    /// One map of `id`, `text` and `createdAt` per entry; both numbers are doubles, as in QML.
    [[nodiscard]] QVariantList entriesAsVariant() const;
    [[nodiscard]] int count() const { return static_cast<int>(m_entries.size()); }

    /// Puts the trimmed text in front, and drops the oldest entries beyond a hundred. A blank text
    /// changes nothing.
    void add(const QString& text);

    Q_INVOKABLE void removeEntry(double id);
    Q_INVOKABLE void clearAll();
    Q_INVOKABLE void copyToClipboard(const QString& text);
    /// The entries that contain the trimmed needle, in any case; all of them for a blank one.
    Q_INVOKABLE [[nodiscard]] QVariantList searchEntries(const QString& needle) const;
    /// Writes all entries to the download directory, as JSON or, for any other word, as text.
    /// Returns the path, or an empty string if there is nothing to write or it can't be written.
    Q_INVOKABLE QString exportToFile(const QString& format);

signals:
    void historyChanged();

private:
    void load();
    void persist() const;
    void handleChange();

    const QString m_filePath;
    QList<HistoryEntry> m_entries;
    /// The texts of all entries for searching: made by the first search after a change, since each
    /// key in the search field is one.
    mutable QStringList m_lowerCasedTexts;
};
