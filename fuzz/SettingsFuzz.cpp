#include "FuzzSupport.h"
#include "storage/SettingsStore.h"

#include <QMetaProperty>

using namespace Qt::StringLiterals;

namespace {

QVariantList settingsOf(const SettingsStore& store)
{
    QVariantList values;
    const QMetaObject* meta = store.metaObject();
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
        values.append(meta->property(i).read(&store));
    }
    return values;
}

QVariantList settingsFromDisk()
{
    SettingsStore store;
    QString error;
    Fuzz::require(store.ensureScaffold(&error) && error.isEmpty(),
        "no content of a file keeps the store from starting");
    return settingsOf(store);
}

} // namespace

// The input is settings.json.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = Fuzz::bytes(data, size);
    if (Fuzz::mayHaveByteOrderMark(input)) {
        return 0;
    }
    SettingsStore store;
    Fuzz::writeFile(store.paths().settingsFile, input);
    Fuzz::require(store.ensureScaffold(nullptr), "any content of a file is good to start with");
    const QVariantList loaded = settingsOf(store);
    Fuzz::require(settingsFromDisk() == loaded, "the same file loads the same");

    store.flush();
    Fuzz::require(settingsFromDisk() == loaded, "saved settings load again equal");
    store.setAutoPunctuation(!store.autoPunctuation());
    store.setTranscriptionLanguage(store.transcriptionLanguage() + store.microphoneDeviceId());
    Fuzz::require(settingsFromDisk() == settingsOf(store), "changed settings load again equal");

    store.resetToDefaults();
    Fuzz::require(settingsOf(store) == settingsOf(SettingsStore()), "a reset leaves no trace");
    return 0;
}
