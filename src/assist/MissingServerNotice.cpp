#include "assist/MissingServerNotice.h"

#include "storage/PrivateDirectories.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

QString environmentFilePath()
{
    return QDir(configRootPath()).filePath(u".env"_s);
}

// What is there stays: it may hold one of the two already.
void makeEnvironmentFile(const QString& example)
{
    const QString path = environmentFilePath();
    if (!QFile::exists(path) && QFile::copy(example, path)) {
        QFile::setPermissions(path, kPrivateFilePermissions);
    }
}

void openFile(const QString& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

// A button that leaves the window open: its answer opens a window of another program beside it.
void addLink(QMessageBox& notice, const QString& text, const std::function<void()>& open)
{
    QPushButton* button = notice.addButton(text, QMessageBox::ActionRole);
    // A message box closes by every button of its own otherwise.
    button->disconnect();
    QObject::connect(button, &QPushButton::clicked, &notice, open);
}

} // namespace

void showMissingServerNotice(const QString& documents)
{
    const QDir directory(documents);
    const QString example = directory.filePath(u"example.env"_s);
    const QString guide = directory.filePath(u"guide.md"_s);

    QMessageBox notice(QMessageBox::Information, u"Tarq"_s, u"Tarq doesn't know its server yet."_s);
    notice.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    notice.setInformativeText(
        u"Two values are missing: SUPABASE_URL and SUPABASE_ANON_KEY. Whoever runs the server "
        "for you can tell them.\n\nWrite them into the file\n%1\nand start Tarq again."_s.arg(
            QDir::toNativeSeparators(environmentFilePath())));
    if (QFile::exists(example) || QFile::exists(environmentFilePath())) {
        addLink(notice, u"Open the file"_s, [example]() {
            makeEnvironmentFile(example);
            openFile(environmentFilePath());
        });
    }
    if (QFile::exists(guide)) {
        addLink(notice, u"Open the guide"_s, [guide]() { openFile(guide); });
    }
    notice.setDefaultButton(notice.addButton(QMessageBox::Close));
    notice.exec();
}

QString installedDocuments()
{
    return QDir::cleanPath(
        QCoreApplication::applicationDirPath() + u'/' + QStringLiteral(TARQ_DOCUMENT_DIRECTORY));
}

} // namespace Assist
