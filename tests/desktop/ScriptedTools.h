#pragma once

#include "support/TarqTest.h"

#include <QString>
#include <QStringList>

// Shell scripts under the names of desktop tools, alone on the PATH. Each writes its command line
// down and then does what it was told for its arguments; by default it prints nothing and succeeds.
class ScriptedTools final
{
public:
    explicit ScriptedTools(const QString& directory);

    void install(const QString& tool) const;
    void remove(const QString& tool) const;
    /// Shell commands for each run of the tool that has `argument` as its first or second one.
    void answer(const QString& tool, const QString& argument, const QByteArray& commands) const;
    /// The command lines so far: the tool and its arguments, with a "|" in between.
    [[nodiscard]] QStringList runs() const;
    void forgetRuns() const;

    /// A run that doesn't end by itself, and leaves its process id in pidOfHanging().
    [[nodiscard]] QByteArray hang() const;
    /// 0 if none hangs yet.
    [[nodiscard]] int pidOfHanging() const;

private:
    [[nodiscard]] QString path(const QString& fileName) const;

    const QString m_directory;
    const ScopedVariable m_path;
};
