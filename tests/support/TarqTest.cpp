#include "support/TarqTest.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

QString TarqTest::homePath(const QString& relativePath) const
{
    return m_home->filePath(relativePath);
}

QString TarqTest::configPath(const QString& fileName) const
{
    return QDir(homePath(u".config/Tarq-Linux"_s)).filePath(fileName);
}

QString TarqTest::cachePath(const QString& fileName) const
{
    return QDir(homePath(u".cache/Tarq-Linux"_s)).filePath(fileName);
}

QByteArray TarqTest::readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TarqTest::writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("Can't write %s", qPrintable(path));
    }
}

unsigned int TarqTest::modeOf(const QString& path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 0777U : 0;
}

QString TarqTest::tokenWithClaims(const QByteArray& json)
{
    constexpr auto kOptions = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
    return QString::fromLatin1(
        R"({"alg":"HS256"})"_ba.toBase64(kOptions) + '.' + json.toBase64(kOptions) + ".signature");
}

QString TarqTest::tokenExpiringIn(qint64 seconds)
{
    const qint64 expiry = QDateTime::currentSecsSinceEpoch() + seconds;
    return tokenWithClaims("{\"exp\":" + QByteArray::number(expiry) + '}');
}

void TarqTest::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    QVERIFY(m_home->isValid());
    qputenv("HOME", QFile::encodeName(m_home->path()));
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void TarqTest::cleanup()
{
    m_home.reset();
}

FileSizeLimit::FileSizeLimit(quint64 bytes)
{
    // The default answer to a file that outgrows the limit is death; a full disk only fails a
    // write.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    m_previous = limit.rlim_cur;
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

FileSizeLimit::~FileSizeLimit()
{
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = m_previous;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

ScopedVariable::ScopedVariable(const char* name, const QByteArray& value)
    : ScopedVariable(name)
{
    qputenv(name, value);
}

ScopedVariable::ScopedVariable(const char* name)
    : m_name(name)
    , m_wasSet(qEnvironmentVariableIsSet(name))
    , m_previous(qgetenv(name))
{
    qunsetenv(name);
}

ScopedVariable::~ScopedVariable()
{
    if (m_wasSet) {
        qputenv(m_name, m_previous);
    } else {
        qunsetenv(m_name);
    }
}
