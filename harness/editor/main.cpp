// A small text editor that tells a test what happens to it: the whole content stands
// in a file at any time, and every event is a line on the standard output.

#include <QApplication>
#include <QFontDatabase>
#include <QMainWindow>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSaveFile>
#include <QSocketNotifier>
#include <QTextDocument>

#include <csignal>
#include <cstdio>
#include <sys/signalfd.h>

namespace {

constexpr int kMargin = 14; // pixels between the window's edge and the text
constexpr int kFontPointSize = 13;

void report(const char* event)
{
    std::puts(event);
    std::fflush(stdout);
}

// Blocks SIGTERM, which then arrives as a readable descriptor. To be called before any
// thread exists, since a thread that leaves the signal open would die of it.
int openTerminationSignal()
{
    sigset_t terminations;
    sigemptyset(&terminations);
    sigaddset(&terminations, SIGTERM);
    sigprocmask(SIG_BLOCK, &terminations, nullptr);
    return signalfd(-1, &terminations, SFD_CLOEXEC);
}

// A reader sees the old content or the new one, never a half-written file.
bool save(const QString& path, const QString& text)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit();
}

class TextArea final : public QPlainTextEdit
{
public:
    explicit TextArea(QWidget* parent)
        : QPlainTextEdit(parent)
    {
        QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        font.setPointSize(kFontPointSize);
        setFont(font);
        setFrameShape(QFrame::NoFrame);
        setPlaceholderText(QStringLiteral("Write something…"));
        document()->setDocumentMargin(kMargin);
    }

protected:
    // Not the base class's work: in Qt 6.4 it reads the first formats of the data without
    // asking whether there are any, and a Wayland clipboard that nobody filled has none.
    void insertFromMimeData(const QMimeData* source) override
    {
        insertPlainText(source->text());
        ensureCursorVisible();
    }

    void focusInEvent(QFocusEvent* event) override
    {
        QPlainTextEdit::focusInEvent(event);
        report("focused");
    }

    void focusOutEvent(QFocusEvent* event) override
    {
        QPlainTextEdit::focusOutEvent(event);
        report("unfocused");
    }
};

} // namespace

int main(int argc, char* argv[])
{
    const int terminationSignal = openTerminationSignal();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("harness-editor"));
    if (QApplication::arguments().size() != 2) {
        std::fputs("usage: harness-editor CONTENT_FILE\n", stderr);
        return 2;
    }
    const QString contentFile = QApplication::arguments().at(1);

    QSocketNotifier termination(terminationSignal, QSocketNotifier::Read);
    QObject::connect(&termination, &QSocketNotifier::activated, &app, &QApplication::quit);

    QMainWindow window;
    auto* area = new TextArea(&window);
    QObject::connect(area, &QPlainTextEdit::textChanged, &window, [area, contentFile] {
        report(save(contentFile, area->toPlainText()) ? "changed" : "not saved");
    });
    window.setCentralWidget(area);
    window.setWindowTitle(QStringLiteral("Notes"));
    window.resize(640, 360);
    window.show();
    area->setFocus();
    return QApplication::exec();
}
