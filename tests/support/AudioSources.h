#pragma once

#include <QString>

// More microphones for tests that run on a private audio server.
namespace AudioSources {

/// Adds a microphone with this device id, described to the user by the same in capitals.
bool add(const QString& id);

/// Takes away every microphone that add() or the session added.
bool removeAll();

/// Adds a microphone that delivers nothing, and reports no error either.
bool addSilent(const QString& name, const QString& pipePath);

/// The name of the source that somebody records from; empty if nobody does.
QString recorded();

} // namespace AudioSources
