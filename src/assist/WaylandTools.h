#pragma once

#include "assist/PasteKeys.h"

#include <QObject>
#include <QString>

#include <functional>

namespace Assist {

// Presses the paste keys with wtype, where the compositor lets it.
class WtypeKeyboard final : public QObject, public PasteKeys
{
    Q_OBJECT

public:
    explicit WtypeKeyboard(QObject* parent = nullptr);
    void press(PasteCombination combination, PressedHandler done) override;
};

enum class WaylandSelection { Clipboard, Primary };

/// Puts the text into a selection by wl-copy, and reads it back by wl-paste. `done` is called once,
/// with true only if the selection holds the text by then. The tools that still run die with
/// `parent`, and `done` isn't called any more.
void copyOnWayland(WaylandSelection selection, const QString& text, QObject* parent,
    std::function<void(bool copied)> done);

} // namespace Assist
