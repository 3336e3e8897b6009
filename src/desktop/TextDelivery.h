#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

// Brings a text into the window that the user types in, in place of the clipboard and the paste
// keys of TextInjectionService: for desktops where those don't reach.
class TextDelivery
{
public:
    /// With an empty text once the window has been told to take the text, or with the reason why it
    /// hasn't, in sentences that also say where the text is.
    using Handler = std::function<void(const QString& error)>;

    TextDelivery() = default;
    virtual ~TextDelivery() = default;
    Q_DISABLE_COPY_MOVE(TextDelivery)

    /// Calls `done` once.
    virtual void deliver(const QString& text, Handler done) = 0;
};
