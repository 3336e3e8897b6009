#include "app/Connections.h"
#include "desktop/GlobalHotkeyManager.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/SettingsStore.h"
#include "support/AudioSources.h"
#include "support/HttpServer.h"
#include "support/TarqTest.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

class ConnectionsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void changedHotkeyLeavesANotice();
    void storedLanguageIsInForceFromTheStart();
    void changedLanguageIsInForceForTheNextRecording();
    void changedMicrophoneIsInForceForTheNextRecording();
    void startAndStopRequestsRecord();
    void toggleRequestToggles();

private:
    // The language that one dictation asks for; empty for none.
    QByteArray languageOfOneDictation();

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<ScopedVariable> m_workerUrl;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<OverlayStateModel> m_overlay;
    std::unique_ptr<TranscriptionPipeline> m_pipeline;
    std::unique_ptr<GlobalHotkeyManager> m_hotkeys;
};

void ConnectionsTest::initTestCase()
{
    QVERIFY(AudioSources::add(u"second"_s));
}

void ConnectionsTest::init()
{
    TarqTest::init();
    m_server = std::make_unique<HttpServer>();
    m_workerUrl = std::make_unique<ScopedVariable>("WORKER_URL", m_server->url().toUtf8());
    m_settings = std::make_unique<SettingsStore>();
    QVERIFY(m_settings->ensureScaffold(nullptr));
    m_overlay = std::make_unique<OverlayStateModel>();
    m_pipeline = std::make_unique<TranscriptionPipeline>(m_overlay.get(), nullptr, nullptr);
    m_pipeline->setApiKey(u"the-key"_s);
    m_hotkeys = std::make_unique<GlobalHotkeyManager>();
}

void ConnectionsTest::cleanup()
{
    m_hotkeys.reset();
    m_pipeline.reset();
    m_overlay.reset();
    m_settings.reset();
    m_workerUrl.reset();
    m_server.reset();
    TarqTest::cleanup();
}

QByteArray ConnectionsTest::languageOfOneDictation()
{
    // Refused, so that nothing is pasted.
    m_server->answerWith({{401, ""}});
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Audio preserved at: "_s));
    m_pipeline->startRecordingExplicit();
    m_pipeline->stopRecordingExplicit();
    QSignalSpy refused(m_pipeline.get(), &TranscriptionPipeline::authRequired);
    if (!refused.wait()) {
        return "(no answer)";
    }
    const QList<FormPart> parts = m_server->requests().last().formParts();
    return parts.size() == 4 ? parts[2].body : QByteArray();
}

void ConnectionsTest::changedHotkeyLeavesANotice()
{
    connectSettings(*m_settings, *m_overlay, *m_pipeline);
    QCOMPARE(m_overlay->lastError(), QString());
    m_settings->setRecordingHotkey(u"Ctrl+Space"_s);
    QCOMPARE(m_overlay->lastError(), u"Hotkey saved. Restart Tarq for it to take effect."_s);

    m_overlay->clearError();
    m_settings->resetToDefaults();
    QCOMPARE(m_overlay->lastError(), u"Hotkey saved. Restart Tarq for it to take effect."_s);
}

void ConnectionsTest::storedLanguageIsInForceFromTheStart()
{
    m_settings->setTranscriptionLanguage(u"de"_s);
    connectSettings(*m_settings, *m_overlay, *m_pipeline);
    QCOMPARE(languageOfOneDictation(), "de"_ba);
}

void ConnectionsTest::changedLanguageIsInForceForTheNextRecording()
{
    connectSettings(*m_settings, *m_overlay, *m_pipeline);
    QCOMPARE(languageOfOneDictation(), QByteArray());
    m_settings->setTranscriptionLanguage(u"fr"_s);
    QCOMPARE(languageOfOneDictation(), "fr"_ba);
    m_settings->resetToDefaults();
    QCOMPARE(languageOfOneDictation(), QByteArray());
}

void ConnectionsTest::changedMicrophoneIsInForceForTheNextRecording()
{
    m_settings->setMicrophoneDeviceId(u"second"_s);
    connectSettings(*m_settings, *m_overlay, *m_pipeline);
    m_pipeline->startRecordingExplicit();
    QTRY_COMPARE(AudioSources::recorded(), u"second"_s);

    // The one that is under way isn't touched.
    m_settings->setMicrophoneDeviceId(QString());
    QCOMPARE(AudioSources::recorded(), u"second"_s);
    m_server->answerWith({{401, ""}});
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Audio preserved at: "_s));
    m_pipeline->stopRecordingExplicit();
    QTRY_COMPARE(m_overlay->state(), State::Idle);
    m_pipeline->startRecordingExplicit();
    QTRY_COMPARE(AudioSources::recorded(), u"mic"_s);
}

void ConnectionsTest::startAndStopRequestsRecord()
{
    connectHotkeys(*m_hotkeys, *m_pipeline);
    emit m_hotkeys->recordingStopRequested();
    QCOMPARE(m_overlay->state(), State::Idle);
    emit m_hotkeys->recordingStartRequested();
    QCOMPARE(m_overlay->state(), State::Recording);
    emit m_hotkeys->recordingStartRequested();
    QCOMPARE(m_overlay->state(), State::Recording);
    emit m_hotkeys->recordingStopRequested();
    QCOMPARE(m_overlay->state(), State::Processing);
}

void ConnectionsTest::toggleRequestToggles()
{
    connectHotkeys(*m_hotkeys, *m_pipeline);
    emit m_hotkeys->toggleRequested();
    QCOMPARE(m_overlay->state(), State::Recording);
}

QTEST_MAIN(ConnectionsTest)
#include "ConnectionsTest.moc"
