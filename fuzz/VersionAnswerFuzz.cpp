#include "FuzzSupport.h"
#include "storage/SettingsStore.h"

#include <QCoreApplication>
#include <QJSValue>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QWindow>

#include <memory>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

namespace {

// The about window, which shows what it made of an answer on its button.
struct About {
    About()
    {
        QCoreApplication::setApplicationVersion(u"0.1.1"_s);
        QQuickStyle::setStyle(u"Basic"_s);
        engine.addImportPath(u"qrc:/"_s);
        QQmlComponent component(&engine, u"qrc:/TarqLinux/qml/AboutWindow.qml"_s);
        window.reset(component.createWithInitialProperties(
            {{u"settingsStore"_s, QVariant::fromValue(&settings)}}));
        Fuzz::require(window != nullptr, "the document loads");
        QQmlEngine::setObjectOwnership(window.get(), QQmlEngine::CppOwnership);
        script = engine.newQObject(window.get());
    }

    QQmlEngine engine;
    SettingsStore settings;
    std::unique_ptr<QObject> window;
    QJSValue script;
};

} // namespace

// The input is the status, a line feed, and the body of the answer to the question for a newer
// version.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static About about;
    const QByteArray input = Fuzz::bytes(data, size);
    const qsizetype lineEnd = input.indexOf('\n');
    if (lineEnd < 1) {
        return 0;
    }
    const int status = input.left(lineEnd).toInt();
    const QString body = QString::fromUtf8(input.mid(lineEnd + 1));
    about.window->setProperty("updateStatus", QString());
    about.window->setProperty("updateDownloadUrl", QString());

    const QJSValue result
        = about.script.property(u"showAnswer"_s).callWithInstance(about.script, {status, body});
    Fuzz::require(!result.isError(), "no answer is an error in the document");
    const QString shown = about.window->property("updateStatus").toString();
    const QString url = about.window->property("updateDownloadUrl").toString();
    const bool isOffer = shown.startsWith("Download v"_L1);
    const QStringList others{u"Network error"_s, u"Failed to check"_s, u"No updates available"_s,
        u"You're up to date"_s};
    Fuzz::require(isOffer || others.contains(shown), "each answer is told in known words");
    Fuzz::require((shown == others.first()) == (status != 200), "only 200 is an answer");
    Fuzz::require(isOffer || url.isEmpty(), "no address without an offer");
    Fuzz::settle();
    return 0;
}
