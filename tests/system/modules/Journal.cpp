// Preloaded into the program, it writes down what the program builds, connects and lets go, in the
// order in which it happens: a line each, into the file that TARQ_JOURNAL names.
//
// An object's class is known only once it has been built, so the journal of the start is written
// when the event loop begins. What comes and goes while the loop runs isn't written down.

#include <QApplication>
#include <QMetaMethod>
#include <QWindow>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

// Qt's own, for tools that look into a program. Declared in a private header.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace {

constexpr int kAddObject = 3;
constexpr int kRemoveObject = 4;

struct Event {
    QObject* born = nullptr; // or null for what the text tells
    QByteArray text;
};

struct Journal {
    std::mutex mutex; // other threads delete objects of the main thread
    std::FILE* file = nullptr;
    bool started = false;
    std::vector<Event> start;
    std::map<QObject*, QByteArray> names; // of what lives when the event loop has ended
};

Journal& journal()
{
    // Never deleted: some objects go with the process.
    static auto* const instance = new Journal;
    return *instance;
}

// What other threads build is Qt's own.
bool onMainThread()
{
    return gettid() == getpid();
}

void write(const char* what, const QByteArray& text)
{
    std::fprintf(journal().file, "%s %s\n", what, text.constData());
    std::fflush(journal().file);
}

// A document's class is its name, and a number that changes.
QByteArray nameOf(const QObject* object)
{
    QByteArray name = object->metaObject()->className();
    if (const qsizetype end = name.indexOf("_QML"); end >= 0) {
        name.truncate(end);
    }
    return object->objectName().isEmpty() ? name : name + ' ' + object->objectName().toUtf8();
}

void objectBorn(QObject* object)
{
    if (!onMainThread()) {
        return;
    }
    const std::lock_guard lock(journal().mutex);
    if (!journal().started) {
        journal().start.push_back({object, {}});
    }
    journal().names.emplace(object, QByteArray());
}

void objectDied(QObject* object)
{
    const std::lock_guard lock(journal().mutex);
    const auto known = journal().names.find(object);
    if (known == journal().names.end()) {
        return;
    }
    if (onMainThread() && !known->second.isEmpty()) {
        write("death", known->second);
    }
    journal().names.erase(known);
    std::erase_if(journal().start, [object](const Event& event) { return event.born == object; });
}

void happened(const QByteArray& text)
{
    if (!onMainThread()) {
        return;
    }
    const std::lock_guard lock(journal().mutex);
    if (!journal().started) {
        journal().start.push_back({nullptr, text});
    }
}

void loopBegins()
{
    const std::lock_guard lock(journal().mutex);
    for (const Event& event : journal().start) {
        if (event.born != nullptr) {
            write("birth", nameOf(event.born));
        } else {
            write("step", event.text);
        }
    }
    journal().started = true;
    journal().start.clear();
}

void loopEnded()
{
    const std::lock_guard lock(journal().mutex);
    for (auto& [object, name] : journal().names) {
        name = nameOf(object);
    }
}

template <typename Function> Function* original(const char* symbol, void* library = RTLD_NEXT)
{
    return reinterpret_cast<Function*>(dlsym(library, symbol));
}

const bool opened = []() {
    const char* const path = std::getenv("TARQ_JOURNAL");
    if (path == nullptr) {
        return false;
    }
    // The tools that the program starts are not meant.
    unsetenv("LD_PRELOAD");
    journal().file = std::fopen(path, "w");
    qtHookData[kAddObject] = reinterpret_cast<quintptr>(&objectBorn);
    qtHookData[kRemoveObject] = reinterpret_cast<quintptr>(&objectDied);
    return true;
}();

} // namespace

// The program's calls of these come here, since what is preloaded is searched first.

int QApplication::exec()
{
    loopBegins();
    const int status = original<int()>("_ZN12QApplication4execEv")();
    loopEnded();
    return status;
}

QMetaObject::Connection QObject::connectImpl(const QObject* sender, void** signal,
    const QObject* receiver, void** slot, QtPrivate::QSlotObjectBase* slotObject,
    Qt::ConnectionType type, const int* types, const QMetaObject* senderMetaObject)
{
    int index = -1;
    void* question[] = {&index, signal};
    senderMetaObject->static_metacall(QMetaObject::IndexOfMethod, 0, question);
    if (index >= 0) {
        const QMetaMethod method
            = senderMetaObject->method(senderMetaObject->methodOffset() + index);
        happened(QByteArray(senderMetaObject->className()) + ' ' + method.name());
    }
    return original<decltype(QObject::connectImpl)>(
        "_ZN7QObject11connectImplEPKS_PPvS1_S3_PN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionType"
        "EPKiPK11QMetaObject")(
        sender, signal, receiver, slot, slotObject, type, types, senderMetaObject);
}

// By its symbol: the library of the class comes with the running instance, so it isn't searched
// next.
extern "C" void _ZN12QQuickWindow21setDefaultAlphaBufferEb(bool on);

void _ZN12QQuickWindow21setDefaultAlphaBufferEb(bool on)
{
    happened(on ? "alpha buffer on" : "alpha buffer off");
    void* const quick = dlopen("libQt6Quick.so.6", RTLD_LAZY | RTLD_NOLOAD);
    original<void(bool)>("_ZN12QQuickWindow21setDefaultAlphaBufferEb", quick)(on);
}
