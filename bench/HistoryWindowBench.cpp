#include "dictation/OverlayStateModel.h"
#include "storage/HistoryRepository.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <vector>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

// A full history on the screen: the time from frame to frame while it is scrolled from top to
// bottom and back, and from a key stroke in the search field to the frame that shows its result.

namespace {

constexpr int kEntries = 100;
constexpr qreal kScrollPixelsPerFrame = 40;

QString entryText(int number)
{
    const QString sentence = u"transcript %1 of a user who has a lot to say, "_s.arg(number);
    return number % 10 == 0 ? sentence.repeated(2000) : sentence.repeated(1 + number % 9);
}

// Milliseconds until the next frame is on the screen.
double nextFrameMs(QQuickWindow& window)
{
    QElapsedTimer timer;
    timer.start();
    QEventLoop loop;
    // Swapped on the thread that renders.
    QObject::connect(
        &window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    window.update();
    loop.exec();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void print(const char* what, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    const auto at = [&times](double share) {
        return times[static_cast<size_t>(share * static_cast<double>(times.size() - 1))];
    };
    std::printf("%-28s %5zu frames  median %6.2f ms  99th percentile %6.2f ms  longest %6.2f ms\n",
        what, times.size(), at(0.5), at(0.99), at(1.0));
}

std::vector<double> scroll(QQuickWindow& window, QQuickItem& list)
{
    std::vector<double> times;
    const auto isAt = [&list](const char* end) {
        return list.property(end).toBool();
    };
    qreal y = list.property("contentY").toReal();
    for (; !isAt("atYEnd"); y += kScrollPixelsPerFrame) {
        list.setProperty("contentY", y);
        times.push_back(nextFrameMs(window));
    }
    for (; !isAt("atYBeginning"); y -= kScrollPixelsPerFrame) {
        list.setProperty("contentY", y);
        times.push_back(nextFrameMs(window));
    }
    return times;
}

std::vector<double> search(QQuickWindow& window, QQuickItem& field)
{
    std::vector<double> times;
    field.forceActiveFocus();
    for (int round = 0; round < 10; ++round) {
        for (const char key : QByteArray("user who")) {
            QTest::keyClick(&window, key);
            times.push_back(nextFrameMs(window));
        }
        for (int key = 0; key < 8; ++key) {
            QTest::keyClick(&window, Qt::Key_Backspace);
            times.push_back(nextFrameMs(window));
        }
    }
    return times;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QQuickStyle::setStyle(u"Basic"_s);
    const QTemporaryDir directory;
    HistoryRepository history(directory.filePath(u"history.json"_s));
    for (int number = 0; number < kEntries; ++number) {
        history.add(entryText(number));
    }
    OverlayStateModel overlay;

    QQmlApplicationEngine engine;
    engine.addImportPath(u"qrc:/"_s);
    engine.setInitialProperties({
        {u"historyRepository"_s, QVariant::fromValue(&history)},
        {u"overlayStateModel"_s, QVariant::fromValue(&overlay)},
    });
    engine.load(QUrl(u"qrc:/TarqLinux/qml/HistoryWindow.qml"_s));
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
    if (window == nullptr) {
        return 1;
    }
    QMetaObject::invokeMethod(window, "show");
    auto* list = window->findChild<QQuickItem*>(u"list"_s);
    auto* field = window->findChild<QQuickItem*>(u"searchField"_s);
    if (!QTest::qWaitForWindowExposed(window) || list == nullptr || field == nullptr) {
        return 1;
    }
    nextFrameMs(*window);

    std::vector<double> still;
    for (int frame = 0; frame < 200; ++frame) {
        still.push_back(nextFrameMs(*window));
    }
    print("nothing moves", still);
    print("scrolling 100 entries", scroll(*window, *list));
    print("typing into the search", search(*window, *field));
    return 0;
}
