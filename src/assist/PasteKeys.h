#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

namespace Assist {

/// What pastes. Editors know the first. Nearly everything knows the second, which takes the primary
/// selection in terminals and the clipboard elsewhere.
enum class PasteCombination { CtrlV, ShiftInsert };

// Something that presses keys in the window that has the focus.
class PasteKeys
{
public:
    /// With an empty text once the keys have been pressed, or with the reason why they weren't.
    using PressedHandler = std::function<void(const QString& error)>;

    PasteKeys() = default;
    virtual ~PasteKeys() = default;
    Q_DISABLE_COPY_MOVE(PasteKeys)

    /// Calls `done` once.
    virtual void press(PasteCombination combination, PressedHandler done) = 0;
};

} // namespace Assist
