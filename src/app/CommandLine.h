#pragma once

#include <QString>
#include <QStringList>

// What a start of the program is asked to do. An option counts wherever it stands; of several, the
// first in the order of Mode acts and the others are ignored, and so is every unknown argument.
class CommandLine final
{
public:
    enum class Mode {
        Help,
        Toggle,
        SessionSmoke,
        AmplitudeSmoke,
        RecordingWaveSmoke,
        AudioSmoke,
        Run,
    };

    /// Of the arguments that the application object leaves, which takes out what is meant for Qt.
    explicit CommandLine(const QStringList& arguments);

    /// The mode before there is an application object: Run unless it is certain to be another.
    [[nodiscard]] static Mode foreseenMode(int argc, char* argv[]);

    [[nodiscard]] Mode mode() const { return m_mode; }
    /// The word behind the option as a number; the fallback if it is missing or no number.
    [[nodiscard]] float floatArgument(float fallback) const;
    /// The same for a whole number; one below 1 gives the fallback too.
    [[nodiscard]] int positiveArgument(int fallback) const;

private:
    Mode m_mode = Mode::Run;
    QString m_argument;
};

/// Logs the help text, as one message.
void logHelp();
