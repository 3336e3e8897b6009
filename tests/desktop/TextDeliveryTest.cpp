#include "desktop/TextDelivery.h"
#include "desktop/ScriptedTools.h"
#include "desktop/TextInjectionService.h"
#include "support/TarqTest.h"

#include <QClipboard>
#include <QGuiApplication>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

class RecordedDelivery final : public TextDelivery
{
public:
    explicit RecordedDelivery(QString error = {})
        : m_error(std::move(error))
    {
    }

    void deliver(const QString& text, Handler done) override
    {
        m_texts.append(text);
        done(m_error);
    }
    [[nodiscard]] QStringList texts() const { return m_texts; }

private:
    const QString m_error;
    QStringList m_texts;
};

} // namespace

class TextDeliveryTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void deliveryStandsInForClipboardAndTools();
    void failureOfADeliveryIsTold();
    void blankTextIsNotDelivered();
    void withoutADeliveryTheToolsAreBack();
};

void TextDeliveryTest::deliveryStandsInForClipboardAndTools()
{
    const ScriptedTools tools(homePath());
    QGuiApplication::clipboard()->setText(u"before"_s);
    TextInjectionService service(nullptr);
    const QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    const QSignalSpy failed(&service, &TextInjectionService::injectionFailed);
    RecordedDelivery delivery;
    service.setDelivery(&delivery);
    service.inject(u" hello "_s);
    QCOMPARE(finished.size(), 1);
    QCOMPARE(failed.size(), 0);
    QCOMPARE(delivery.texts(), QStringList{u"hello"_s});
    QCOMPARE(QGuiApplication::clipboard()->text(), u"before"_s);
    QCOMPARE(tools.runs(), QStringList());
}

void TextDeliveryTest::failureOfADeliveryIsTold()
{
    TextInjectionService service(nullptr);
    const QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    const QSignalSpy failed(&service, &TextInjectionService::injectionFailed);
    RecordedDelivery delivery(u"Nobody is at home."_s);
    service.setDelivery(&delivery);
    service.inject(u"hello"_s);
    QCOMPARE(finished.size(), 0);
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed.first().first().toString(), u"Nobody is at home."_s);
}

void TextDeliveryTest::blankTextIsNotDelivered()
{
    TextInjectionService service(nullptr);
    const QSignalSpy failed(&service, &TextInjectionService::injectionFailed);
    RecordedDelivery delivery;
    service.setDelivery(&delivery);
    service.inject(u" \n"_s);
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed.first().first().toString(), u"Empty transcript"_s);
    QCOMPARE(delivery.texts(), QStringList());
}

void TextDeliveryTest::withoutADeliveryTheToolsAreBack()
{
    const ScopedVariable session("XDG_SESSION_TYPE", "wayland");
    const ScriptedTools tools(homePath());
    tools.install(u"wtype"_s);
    TextInjectionService service(nullptr);
    RecordedDelivery delivery;
    service.setDelivery(&delivery);
    service.setDelivery(nullptr);
    QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    service.inject(u"hello"_s);
    QVERIFY(finished.wait());
    QCOMPARE(tools.runs(), QStringList{u"wtype|-M|ctrl|v|-m|ctrl"_s});
    QCOMPARE(delivery.texts(), QStringList());
}

QTEST_MAIN(TextDeliveryTest)
#include "TextDeliveryTest.moc"
