#pragma once

#include <QHash>
#include <QObject>

#include <optional>

class QKeyEvent;

// A key that is held is one click, in every window of the program, for as long as this lives: of
// the keys that click, a control gets one press and one release for each time that the finger goes
// down, and no release if it has lost the focus in between. A field of text gets repeated blanks.
class HeldKeys final : public QObject
{
    Q_OBJECT

public:
    explicit HeldKeys(QObject* parent = nullptr);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Stage {
        Void, // what it was pressed on has lost the focus, or was another program's
        Pressed,
        Released, // for what has the focus; the key itself may still be down
    };
    struct Release {
        int key = 0;
        quint64 time = 0; // as the display tells it, in ms
    };

    [[nodiscard]] bool concerns(const QKeyEvent& event) const;
    [[nodiscard]] bool repeats(const QKeyEvent& press) const;
    void leaveHolds();
    bool swallowsPress(const QKeyEvent& event);
    bool swallowsRelease(const QKeyEvent& event);

    QHash<int, Stage> m_holds; // by key
    std::optional<Release> m_lastRelease; // none once another key has gone down
};
