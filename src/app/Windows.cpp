#include "app/Windows.h"

#include "account/SupabaseAuthClient.h"
#include "app/DocumentNetwork.h"
#include "app/WindowHints.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "storage/SettingsStore.h"

#include <QCoreApplication>
#include <QUrl>
#include <QWindow>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QObject* rootOf(const QQmlApplicationEngine& engine)
{
    return engine.rootObjects().value(0);
}

QWindow* windowOf(const QQmlApplicationEngine& engine)
{
    return qobject_cast<QWindow*>(rootOf(engine));
}

} // namespace

Windows::Table Windows::policies(SettingsStore& settings, SupabaseAuthClient& auth,
    OverlayStateModel& overlay, HistoryRepository& history, TranscriptionPipeline& pipeline)
{
    const std::pair settingsStore(u"settingsStore"_s, QVariant::fromValue(&settings));
    const std::pair authClient(u"authClient"_s, QVariant::fromValue(&auth));
    const std::pair overlayModel(u"overlayStateModel"_s, QVariant::fromValue(&overlay));
    const std::pair repository(u"historyRepository"_s, QVariant::fromValue(&history));
    const std::pair dictation(u"transcriptionPipeline"_s, QVariant::fromValue(&pipeline));
    // clang-format off
    Table windows;
    // The profile also gets the account that is stored when it opens.
    //                  document                  what it gets                ending
    windows[Bubble]   = {u"Main.qml"_s,           {overlayModel, dictation},  Ending::Never};
    windows[History]  = {u"HistoryWindow.qml"_s,  {repository, overlayModel}, Ending::Never};
    windows[Login]    = {u"LoginWindow.qml"_s,    {authClient},               Ending::ByProgram};
    windows[Settings] = {u"SettingsWindow.qml"_s, {settingsStore, overlayModel}, Ending::WhenHidden};
    windows[About]    = {u"AboutWindow.qml"_s,    {settingsStore},            Ending::WhenHidden};
    windows[Profile]  = {u"ProfileWindow.qml"_s,  {overlayModel},             Ending::WhenHidden};
    windows[Splash]   = {u"SplashWindow.qml"_s,   {},                         Ending::WhenDone};
    // clang-format on
    return windows;
}

Windows::Windows(SettingsStore& settings, SupabaseAuthClient& auth, OverlayStateModel& overlay,
    HistoryRepository& history, TranscriptionPipeline& pipeline, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_overlay(overlay)
    , m_policies(policies(settings, auth, overlay, history, pipeline))
{
    prepare(Bubble, &m_mainEngine);
    prepare(History, &m_historyEngine);
}

// The engines of open windows stay with the application, and outlive what their windows show. Their
// bindings find null in its place then, which is no news for the log.
Windows::~Windows()
{
    for (const QPointer<QQmlApplicationEngine>& engine : m_engines) {
        if (engine != nullptr) {
            engine->setOutputWarningsToStandardError(false);
        }
    }
}

void Windows::leaveUnmanaged()
{
    // Compositors give the keyboard to unmanaged windows as well, but not to tools.
    constexpr int kFlags = Qt::Tool | Qt::BypassWindowManagerHint;
    for (const Name name : {Bubble, Splash}) {
        m_policies[name].properties[u"extraFlags"_s] = kFlags;
    }
    m_mainEngine.setInitialProperties(m_policies[Bubble].properties);
}

void Windows::loadBubble()
{
    load(Bubble);
    QWindow* window = windowOf(m_mainEngine);
    if (window == nullptr) {
        // The engine has said why. Everything but the bubble works without it.
        return;
    }
    emit bubbleLoaded(window);
    applyX11WindowHints(window);
    connect(&m_overlay, &OverlayStateModel::visibleChanged, window, [this, window]() {
        if (m_overlay.isVisible()) {
            applyX11WindowHints(window);
        }
    });
}

void Windows::loadHistory()
{
    load(History);
}

void Windows::showSplash()
{
    open(Splash);
}

void Windows::showLogin()
{
    if (m_engines[Login] == nullptr) {
        open(Login);
    }
}

void Windows::presentLogin()
{
    openOrRaise(Login);
}

void Windows::closeLogin()
{
    close(Login);
}

bool Windows::isHistoryLoaded() const
{
    return rootOf(m_historyEngine) != nullptr;
}

void Windows::showHistory()
{
    if (QObject* root = rootOf(m_historyEngine)) {
        // The document's own function, which also raises the window, and not QWindow's.
        QMetaObject::invokeMethod(root, "show");
    }
}

void Windows::hideHistory()
{
    for (QObject* root : m_historyEngine.rootObjects()) {
        if (auto* window = qobject_cast<QWindow*>(root)) {
            window->hide();
        }
    }
}

void Windows::showSettings()
{
    openOrRaise(Settings);
}

void Windows::showAbout()
{
    openOrRaise(About);
}

void Windows::showProfile()
{
    const SettingsStore::AuthTokens tokens = m_settings.loadAuthTokens();
    m_policies[Profile].properties[u"userEmail"_s] = tokens.userEmail;
    m_policies[Profile].properties[u"userId"_s] = tokens.userId;
    openOrRaise(Profile);
}

void Windows::closeProfile()
{
    close(Profile);
}

void Windows::prepare(Name name, QQmlApplicationEngine* engine)
{
    m_engines[name] = engine;
    restrictNetwork(*engine);
    engine->addImportPath(u"qrc:/"_s);
    engine->setInitialProperties(m_policies[name].properties);
}

void Windows::load(Name name)
{
    m_engines[name]->load(QUrl("qrc:/TarqLinux/qml/"_L1 + m_policies[name].document));
}

void Windows::openOrRaise(Name name)
{
    if (m_engines[name] == nullptr) {
        open(name);
    } else if (QWindow* window = windowOf(*m_engines[name])) {
        window->show();
        window->raise();
        window->requestActivate();
    }
}

void Windows::open(Name name)
{
    auto* engine = new QQmlApplicationEngine(qApp);
    prepare(name, engine);
    load(name);
    QObject* root = rootOf(*engine);
    switch (m_policies[name].ending) {
    case Ending::Never:
    case Ending::ByProgram:
        break;
    case Ending::WhenHidden:
        // However it was hidden: the next request builds a fresh one.
        if (auto* window = qobject_cast<QWindow*>(root)) {
            connect(window, &QWindow::visibleChanged, this, [this, name](bool visible) {
                if (!visible) {
                    release(name);
                }
            });
        }
        break;
    case Ending::WhenDone:
        if (root == nullptr) {
            release(name);
            break;
        }
        // The signal is the document's own.
        connect(root, SIGNAL(done()), root, SLOT(close()));
        connect(root, SIGNAL(done()), engine, SLOT(deleteLater()));
        break;
    }
}

void Windows::close(Name name)
{
    if (m_engines[name] == nullptr) {
        return;
    }
    if (QWindow* window = windowOf(*m_engines[name])) {
        window->close();
    }
    release(name);
}

// Not deleted at once: what asks for it may run inside the engine, as its window's own click does.
void Windows::release(Name name)
{
    if (m_engines[name] != nullptr) {
        m_engines[name]->deleteLater();
        m_engines[name] = nullptr;
    }
}
