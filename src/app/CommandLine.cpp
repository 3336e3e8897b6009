#include "app/CommandLine.h"

#include <QDebug>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Option {
    QLatin1StringView word;
    CommandLine::Mode mode = CommandLine::Mode::Run;
};

constexpr std::array kOptions{
    Option{"--help"_L1, CommandLine::Mode::Help},
    Option{"-h"_L1, CommandLine::Mode::Help},
    Option{"--toggle"_L1, CommandLine::Mode::Toggle},
    Option{"--session-smoke"_L1, CommandLine::Mode::SessionSmoke},
    Option{"--amplitude-smoke"_L1, CommandLine::Mode::AmplitudeSmoke},
    Option{"--recording-wave-smoke"_L1, CommandLine::Mode::RecordingWaveSmoke},
    Option{"--audio-smoke"_L1, CommandLine::Mode::AudioSmoke},
};

constexpr std::array kHelpLines{
    "Tarq — Floating voice-to-text assistant\n",
    "\n",
    "Usage:\n",
    "  tarq-linux              Launch the overlay\n",
    "  tarq-linux --toggle     Toggle recording on a running instance\n",
    "\n",
    "Smoke tests:\n",
    "  --amplitude-smoke [f]   Test amplitude processor (0.0-1.0)\n",
    "  --recording-wave-smoke [ms]  Test wave controller\n",
    "  --audio-smoke [ms]      Test audio capture pipeline\n",
    "  --session-smoke         Print detected session type\n",
    "\n",
    "Hotkey:\n",
    "  Hold Super+Space (1.5s) Push-to-talk: hold to record, release to transcribe\n",
    "  For Wayland: bind 'tarq-linux --toggle' to a custom shortcut\n",
    "\n",
    "Requirements:\n",
    "  xdotool (X11) or wtype (Wayland) for text injection\n",
    "  PipeWire or PulseAudio for audio capture\n",
    "\n",
    "Config: ~/.config/Tarq-Linux/\n",
    "Cache:  ~/.cache/Tarq-Linux/",
};

// Which words Qt takes for options of its own depends on its version and its plugins, and so does
// whether the word behind one goes with it. But all of them begin with a dash.
bool isLeftByQt(const QString& word)
{
    return !word.startsWith('-'_L1)
        || std::any_of(kOptions.begin(), kOptions.end(),
            [&word](const Option& option) { return word == option.word; });
}

} // namespace

CommandLine::CommandLine(const QStringList& arguments)
{
    for (const Option& option : kOptions) {
        const qsizetype position = arguments.indexOf(option.word);
        if (position >= 0) {
            m_mode = option.mode;
            m_argument = arguments.value(position + 1);
            return;
        }
    }
}

CommandLine::Mode CommandLine::foreseenMode(int argc, char* argv[])
{
    QStringList words;
    for (int i = 0; i < argc; ++i) {
        words.append(QString::fromLocal8Bit(argv[i]));
    }
    const bool certain = std::all_of(words.begin(), words.end(), isLeftByQt);
    return certain ? CommandLine(words).mode() : Mode::Run;
}

float CommandLine::floatArgument(float fallback) const
{
    bool ok = false;
    const float value = m_argument.toFloat(&ok);
    return ok ? value : fallback;
}

int CommandLine::positiveArgument(int fallback) const
{
    bool ok = false;
    const int value = m_argument.toInt(&ok, 10);
    return ok && value > 0 ? value : fallback;
}

void logHelp()
{
    // The stream puts a blank between two pieces, which indents every line but the first.
    QDebug stream = qInfo().noquote();
    for (const char* line : kHelpLines) {
        stream << line;
    }
}
