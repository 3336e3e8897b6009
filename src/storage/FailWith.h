#pragma once

#include <QString>

/// What an operation that failed returns: false, with the sentence in `error` unless that is null.
inline bool failWith(QString* error, const QString& message)
{
    if (error != nullptr) {
        *error = message;
    }
    return false;
}
