#include "app/CommandLine.h"
#include "support/TarqTest.h"

#include <QVarLengthArray>

using namespace Qt::StringLiterals;
using Mode = CommandLine::Mode;

class CommandLineTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void modes_data();
    void modes();
    void modeIsForeseenOnlyIfQtLeavesEveryWord_data();
    void modeIsForeseenOnlyIfQtLeavesEveryWord();
    void floatBehindTheOption_data();
    void floatBehindTheOption();
    void wholeNumberBehindTheOption_data();
    void wholeNumberBehindTheOption();
    void helpIsOneMessage();
};

void CommandLineTest::modes_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<Mode>("mode");
    QTest::newRow("nothing") << QStringList{} << Mode::Run;
    QTest::newRow("unknown") << QStringList{u"--foo"_s} << Mode::Run;
    QTest::newRow("other case") << QStringList{u"--HELP"_s} << Mode::Run;
    QTest::newRow("part of a word") << QStringList{u"--toggle=1"_s} << Mode::Run;
    QTest::newRow("help") << QStringList{u"--help"_s} << Mode::Help;
    QTest::newRow("short help") << QStringList{u"-h"_s} << Mode::Help;
    QTest::newRow("toggle") << QStringList{u"--toggle"_s} << Mode::Toggle;
    QTest::newRow("anywhere") << QStringList{u"--foo"_s, u"x"_s, u"--toggle"_s} << Mode::Toggle;
    QTest::newRow("session") << QStringList{u"--session-smoke"_s} << Mode::SessionSmoke;
    QTest::newRow("amplitude") << QStringList{u"--amplitude-smoke"_s} << Mode::AmplitudeSmoke;
    QTest::newRow("wave") << QStringList{u"--recording-wave-smoke"_s} << Mode::RecordingWaveSmoke;
    QTest::newRow("audio") << QStringList{u"--audio-smoke"_s} << Mode::AudioSmoke;
    // The first in the order of precedence acts, wherever it stands.
    const QStringList all{u"--audio-smoke"_s, u"--recording-wave-smoke"_s, u"--amplitude-smoke"_s,
        u"--session-smoke"_s, u"--toggle"_s, u"--help"_s};
    const QList<Mode> order{Mode::AudioSmoke, Mode::RecordingWaveSmoke, Mode::AmplitudeSmoke,
        Mode::SessionSmoke, Mode::Toggle, Mode::Help};
    for (qsizetype count = 2; count <= all.size(); ++count) {
        QTest::addRow("the first of %d", static_cast<int>(count))
            << all.first(count) << order[count - 1];
    }
}

void CommandLineTest::modes()
{
    QFETCH(QStringList, words);
    QFETCH(Mode, mode);
    QCOMPARE(CommandLine(QStringList{u"tarq-linux"_s} + words).mode(), mode);
}

void CommandLineTest::modeIsForeseenOnlyIfQtLeavesEveryWord_data()
{
    QTest::addColumn<QList<QByteArray>>("words");
    QTest::addColumn<Mode>("mode");
    QTest::newRow("nothing") << QList<QByteArray>{} << Mode::Run;
    QTest::newRow("toggle") << QList<QByteArray>{"--toggle"} << Mode::Toggle;
    QTest::newRow("short help") << QList<QByteArray>{"-h"} << Mode::Help;
    QTest::newRow("several") << QList<QByteArray>{"--audio-smoke", "--toggle"} << Mode::Toggle;
    QTest::newRow("without a dash")
        << QList<QByteArray>{"x", "", "--audio-smoke", "250"} << Mode::AudioSmoke;
    QTest::newRow("behind a dash") << QList<QByteArray>{"-style", "--toggle"} << Mode::Run;
    QTest::newRow("before a dash") << QList<QByteArray>{"--toggle", "-reverse"} << Mode::Run;
    QTest::newRow("unknown to Qt too") << QList<QByteArray>{"--toggle", "--foo"} << Mode::Run;
    QTest::newRow("not of the locale") << QList<QByteArray>{"--toggle", "\xff"} << Mode::Toggle;
}

void CommandLineTest::modeIsForeseenOnlyIfQtLeavesEveryWord()
{
    QFETCH(QList<QByteArray>, words);
    QFETCH(Mode, mode);
    words.prepend("tarq-linux");
    QVarLengthArray<char*> argv;
    for (QByteArray& word : words) {
        argv.append(word.data());
    }
    QCOMPARE(CommandLine::foreseenMode(static_cast<int>(argv.size()), argv.data()), mode);
}

void CommandLineTest::floatBehindTheOption_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<float>("value");
    QTest::newRow("none") << QStringList{} << 1.0F;
    QTest::newRow("half") << QStringList{u"0.5"_s} << 0.5F;
    QTest::newRow("no number") << QStringList{u"abc"_s} << 1.0F;
    QTest::newRow("out of range") << QStringList{u"-7.25"_s} << -7.25F;
    QTest::newRow("an option") << QStringList{u"--foo"_s} << 1.0F;
    QTest::newRow("only the next word") << QStringList{u"x"_s, u"0.5"_s} << 1.0F;
}

void CommandLineTest::floatBehindTheOption()
{
    QFETCH(QStringList, words);
    QFETCH(float, value);
    const CommandLine commandLine(QStringList{u"tarq-linux"_s, u"--amplitude-smoke"_s} + words);
    QCOMPARE(commandLine.floatArgument(1.0F), value);
}

void CommandLineTest::wholeNumberBehindTheOption_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("value");
    QTest::newRow("none") << QStringList{} << 1000;
    QTest::newRow("250") << QStringList{u"250"_s} << 250;
    QTest::newRow("zero") << QStringList{u"0"_s} << 1000;
    QTest::newRow("negative") << QStringList{u"-5"_s} << 1000;
    QTest::newRow("fraction") << QStringList{u"2.5"_s} << 1000;
    QTest::newRow("hexadecimal") << QStringList{u"0x10"_s} << 1000;
    QTest::newRow("too large") << QStringList{u"99999999999"_s} << 1000;
    QTest::newRow("word") << QStringList{u"long"_s} << 1000;
}

void CommandLineTest::wholeNumberBehindTheOption()
{
    QFETCH(QStringList, words);
    QFETCH(int, value);
    const CommandLine commandLine(QStringList{u"tarq-linux"_s, u"--audio-smoke"_s} + words);
    QCOMPARE(commandLine.positiveArgument(1000), value);
}

void CommandLineTest::helpIsOneMessage()
{
    QTest::ignoreMessage(QtInfoMsg,
        "Tarq — Floating voice-to-text assistant\n"
        " \n"
        " Usage:\n"
        "   tarq-linux              Launch the overlay\n"
        "   tarq-linux --toggle     Toggle recording on a running instance\n"
        " \n"
        " Smoke tests:\n"
        "   --amplitude-smoke [f]   Test amplitude processor (0.0-1.0)\n"
        "   --recording-wave-smoke [ms]  Test wave controller\n"
        "   --audio-smoke [ms]      Test audio capture pipeline\n"
        "   --session-smoke         Print detected session type\n"
        " \n"
        " Hotkey:\n"
        "   Hold Super+Space (1.5s) Push-to-talk: hold to record, release to transcribe\n"
        "   For Wayland: bind 'tarq-linux --toggle' to a custom shortcut\n"
        " \n"
        " Requirements:\n"
        "   xdotool (X11) or wtype (Wayland) for text injection\n"
        "   PipeWire or PulseAudio for audio capture\n"
        " \n"
        " Config: ~/.config/Tarq-Linux/\n"
        " Cache:  ~/.cache/Tarq-Linux/");
    logHelp();
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
