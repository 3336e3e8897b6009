#pragma once

#include <QString>

namespace Doctor {

enum class Verdict {
    Ok,
    Hint, ///< a dictation arrives all the same
    Problem, ///< no dictation arrives before this is mended
};

/// What was found out about one thing, in words for a person: how it is, or what to do.
struct Finding {
    QString subject;
    Verdict verdict = Verdict::Ok;
    QString text;
};

} // namespace Doctor
