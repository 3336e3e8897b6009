#pragma once

#include <QObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// Base of the test classes. Each test function starts in an empty home of its own, and fails on a
// warning that it didn't announce with QTest::ignoreMessage().
class TarqTest : public QObject
{
    Q_OBJECT

protected:
    [[nodiscard]] QString homePath(const QString& relativePath = {}) const;
    [[nodiscard]] QString configPath(const QString& fileName = {}) const;
    [[nodiscard]] QString cachePath(const QString& fileName = {}) const;

    static QByteArray readFile(const QString& path);
    /// Creates the directory too.
    static void writeFile(const QString& path, const QByteArray& content);
    /// The nine permission bits, for example 0600.
    static unsigned int modeOf(const QString& path);

    /// An unsigned token of the form of a JWT with these claims.
    static QString tokenWithClaims(const QByteArray& json);
    /// One that expires that many seconds from now.
    static QString tokenExpiringIn(qint64 seconds);

protected slots:
    void init();
    void cleanup();

private:
    std::unique_ptr<QTemporaryDir> m_home;
};

// While it lives, no file of this process can grow beyond `bytes`: a disk that is full.
class FileSizeLimit final
{
public:
    explicit FileSizeLimit(quint64 bytes);
    ~FileSizeLimit();
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    quint64 m_previous = 0;
};

// Sets a variable of the environment, or removes it, and restores it at the end.
class ScopedVariable final
{
public:
    ScopedVariable(const char* name, const QByteArray& value);
    explicit ScopedVariable(const char* name);
    ~ScopedVariable();
    Q_DISABLE_COPY_MOVE(ScopedVariable)

private:
    const char* m_name;
    bool m_wasSet;
    QByteArray m_previous;
};
