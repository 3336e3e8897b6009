#pragma once

#include "assist/PasteKeys.h"
#include "assist/WaylandMeans.h"
#include "desktop/TextDelivery.h"

#include <QObject>
#include <QString>

namespace Assist {

// Brings the words into the window that has the focus on Wayland, by what this desktop offers: see
// WaylandMeans. Keys are pressed only once the words are known to be on the clipboard, so that what
// was there before is never pasted. Needs the bubble to leave the focus where it is. What is
// missing is told once, in the log and by advice(). Belongs to whom it delivers for.
class WaylandPaste final : public QObject, public TextDelivery
{
    Q_OBJECT

public:
    /// `tokenFile` is where the user's permission to press keys is kept.
    explicit WaylandPaste(QString tokenFile, QObject* parent = nullptr);

    /// Finds out what the desktop offers, and asks for the permission that is needed. Before that
    /// is known no text is delivered.
    void begin();
    void deliver(const QString& text, Handler done) override;

signals:
    /// What the user can install or allow; each sentence once.
    void advice(const QString& sentence);

private:
    void choose(uint portalVersion);
    void openPortal(uint portalVersion);
    void deliverByWlCopy(const QString& text, const Handler& done);
    void deliverByQt(const QString& text, const Handler& done);
    void pressKeys(PasteCombination combination, const Handler& done);

    const QString m_tokenFile;
    WaylandFacts m_facts;
    WaylandMeans m_means;
    PasteKeys* m_keys = nullptr; ///< a child, null where nothing presses keys
};

} // namespace Assist
