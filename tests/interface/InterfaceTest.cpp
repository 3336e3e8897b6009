#include "Animations.h"
#include "Fixture.h"
#include "HeldKeys.h"
#include "Keyboard.h"

#include <QAccessible>
#include <QCursor>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QtQuickTest>

#include <memory>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

class Setup final : public QObject
{
    Q_OBJECT

public slots:
    void applicationAvailable()
    {
        m_fixture = std::make_unique<Fixture>();
        m_heldKeys = std::make_unique<HeldKeys>();
        m_keyboard = std::make_unique<Keyboard>();
        QCoreApplication::setApplicationVersion(u"0.1.1"_s);
        QQuickWindow::setDefaultAlphaBuffer(true);
        QQuickStyle::setStyle(u"Basic"_s);
        // As with a screen reader, for which the controls get their names.
        QAccessible::setActive(true);
        // The pointer starts in the middle of the screen, where it would hover over the windows.
        QCursor::setPos(0, 0);
    }
    void qmlEngineAvailable(QQmlEngine* engine)
    {
        engine->addImportPath(u"qrc:/"_s);
        engine->rootContext()->setContextProperty(u"fixture"_s, m_fixture.get());
        engine->rootContext()->setContextProperty(u"keyboard"_s, m_keyboard.get());
        engine->rootContext()->setContextProperty(u"animations"_s, &m_animations);
        // Quick Test would end with the first quit, whether it is its own or a document's.
        disconnect(engine, &QQmlEngine::quit, nullptr, nullptr);
        connect(engine, &QQmlEngine::quit, m_fixture.get(), &Fixture::handleQuit);
    }
    void cleanupTestCase()
    {
        // The program is quitting, so no event loop does this any more.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private:
    std::unique_ptr<Fixture> m_fixture;
    std::unique_ptr<HeldKeys> m_heldKeys;
    std::unique_ptr<Keyboard> m_keyboard;
    Animations m_animations;
};

QUICK_TEST_MAIN_WITH_SETUP(interface, Setup)
#include "InterfaceTest.moc"
