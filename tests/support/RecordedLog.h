#pragma once

#include <QStringList>

// While it lives, keeps every log line as "level: text". The lines still reach the test's own
// handler, which fails on a warning that wasn't announced.
class RecordedLog final
{
public:
    RecordedLog();
    ~RecordedLog();
    Q_DISABLE_COPY_MOVE(RecordedLog)

    [[nodiscard]] QStringList lines() const;
};
