#include "assist/WaylandTools.h"

#include "desktop/ToolProcess.h"

#include <QProcess>
#include <QTimer>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

// For a tool that waits for a compositor that doesn't answer.
constexpr int kToolTimeoutMs = 2000;

// Takes its tool with it.
class Tool final : public QProcess
{
public:
    using QProcess::QProcess;
    ~Tool() override
    {
        disconnect();
        endTool(*this);
    }
    Q_DISABLE_COPY_MOVE(Tool)
};

// Runs a tool to its end, and calls `done` once: with what it printed, or with nothing if it
// failed.
void runTool(const QString& program, const QStringList& arguments, const QByteArray& input,
    QObject* parent, std::function<void(const std::optional<QByteArray>&)> done)
{
    const bool prints = input.isEmpty();
    auto* tool = new Tool(parent);
    tool->setStandardErrorFile(QProcess::nullDevice());
    if (!prints) {
        // wl-copy leaves a process behind, which would hold the pipe for as long as it serves.
        tool->setStandardOutputFile(QProcess::nullDevice());
    }
    const auto end = [tool, prints, done = std::move(done)](bool succeeded) {
        const QByteArray output = prints ? tool->readAllStandardOutput() : QByteArray();
        tool->deleteLater();
        done(succeeded ? std::optional(output) : std::nullopt);
    };
    QObject::connect(
        tool, &QProcess::finished, parent, [end](int exitCode, QProcess::ExitStatus status) {
            end(exitCode == 0 && status == QProcess::NormalExit);
        });
    QObject::connect(tool, &QProcess::errorOccurred, parent, [end](QProcess::ProcessError error) {
        // After every other error the process still ends.
        if (error == QProcess::FailedToStart) {
            end(false);
        }
    });
    QTimer::singleShot(kToolTimeoutMs, tool, &QProcess::kill);
    tool->start(program, arguments);
    tool->write(input);
    tool->closeWriteChannel();
}

QStringList selectionOption(WaylandSelection selection)
{
    return selection == WaylandSelection::Primary ? QStringList{u"--primary"_s} : QStringList{};
}

} // namespace

WtypeKeyboard::WtypeKeyboard(QObject* parent)
    : QObject(parent)
{
}

void WtypeKeyboard::press(PasteCombination combination, PressedHandler done)
{
    const QStringList arguments = combination == PasteCombination::CtrlV
        ? QStringList{u"-M"_s, u"ctrl"_s, u"v"_s, u"-m"_s, u"ctrl"_s}
        : QStringList{u"-M"_s, u"shift"_s, u"-k"_s, u"Insert"_s, u"-m"_s, u"shift"_s};
    runTool(u"wtype"_s, arguments, {}, this, [done = std::move(done)](const auto& output) {
        done(output ? QString() : u"wtype failed"_s);
    });
}

void copyOnWayland(WaylandSelection selection, const QString& text, QObject* parent,
    std::function<void(bool copied)> done)
{
    const QByteArray bytes = text.toUtf8();
    // Left to itself wl-copy guesses at the type, with the help of other tools.
    const QStringList type{u"--type"_s, u"text/plain"_s};
    runTool(u"wl-copy"_s, type + selectionOption(selection), bytes, parent,
        [selection, bytes, parent, done = std::move(done)](const auto& copied) {
            if (!copied) {
                done(false);
                return;
            }
            const QStringList asItIs{u"--no-newline"_s};
            runTool(u"wl-paste"_s, asItIs + selectionOption(selection), {}, parent,
                [bytes, done](const auto& pasted) { done(pasted == bytes); });
        });
}

} // namespace Assist
