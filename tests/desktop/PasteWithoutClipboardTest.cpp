#include "desktop/TextInjectionService.h"
#include "support/TarqTest.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

// Stands in for Qt's own, which gives an object even to a program that has no display.
QClipboard* QGuiApplication::clipboard()
{
    return nullptr;
}

class PasteWithoutClipboardTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void missingClipboardIsReported();
    void blankTextIsReportedFirst();
};

void PasteWithoutClipboardTest::missingClipboardIsReported()
{
    TextInjectionService service(nullptr);
    const QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    const QSignalSpy failed(&service, &TextInjectionService::injectionFailed);
    service.inject(u"hello"_s);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(failed.first().first().toString(), u"Clipboard unavailable"_s);
    QCOMPARE(finished.count(), 0);
}

void PasteWithoutClipboardTest::blankTextIsReportedFirst()
{
    TextInjectionService service(nullptr);
    const QSignalSpy failed(&service, &TextInjectionService::injectionFailed);
    service.inject(u" "_s);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(failed.first().first().toString(), u"Empty transcript"_s);
}

QTEST_GUILESS_MAIN(PasteWithoutClipboardTest)
#include "PasteWithoutClipboardTest.moc"
