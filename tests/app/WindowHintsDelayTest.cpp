#include "app/WindowHints.h"
#include "desktop/ScriptedTools.h"
#include "support/Moments.h"
#include "support/TarqTest.h"

#include <QProcess>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

Moments* moments = nullptr;

} // namespace

// A program's own symbol comes before Qt's. A tool that is started detached tells nobody when that
// was.
bool QProcess::startDetached(qint64* /*pid*/)
{
    moments->note(program().section(u'/', -1));
    return true;
}

class WindowHintsDelayTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void hintsComeAfter150Milliseconds();
};

void WindowHintsDelayTest::hintsComeAfter150Milliseconds()
{
    const ScriptedTools tools(homePath());
    tools.install(u"xprop"_s);
    QWindow window;
    window.create();
    Moments seen;
    moments = &seen;
    seen.noteIn(135);
    applyX11WindowHints(&window);
    seen.noteIn(165);
    QTRY_COMPARE(seen.seen(), (QStringList{u"135"_s, u"xprop"_s, u"xprop"_s, u"165"_s}));
}

QTEST_MAIN(WindowHintsDelayTest)
#include "WindowHintsDelayTest.moc"
