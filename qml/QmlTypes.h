#pragma once

#include "account/SupabaseAuthClient.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/RecordingWaveController.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "storage/SettingsStore.h"

#include <QtQml>

// The services by the names that QML knows them by. QML gets instances as properties and creates
// none. QML derives from the types that it could create by their constructors, which therefore
// aren't final. Declared here and not in the services, which know nothing of QML.

struct SupabaseAuthClientForQml {
    Q_GADGET
    QML_FOREIGN(SupabaseAuthClient)
    QML_NAMED_ELEMENT(SupabaseAuthClient)
    QML_UNCREATABLE("")
};

struct OverlayStateModelForQml {
    Q_GADGET
    QML_FOREIGN(OverlayStateModel)
    QML_NAMED_ELEMENT(OverlayStateModel)
    QML_UNCREATABLE("")
};

struct TranscriptionPipelineForQml {
    Q_GADGET
    QML_FOREIGN(TranscriptionPipeline)
    QML_NAMED_ELEMENT(TranscriptionPipeline)
    QML_UNCREATABLE("")
};

struct HistoryRepositoryForQml {
    Q_GADGET
    QML_FOREIGN(HistoryRepository)
    QML_NAMED_ELEMENT(HistoryRepository)
    QML_UNCREATABLE("")
};

struct RecordingWaveControllerForQml {
    Q_GADGET
    QML_FOREIGN(RecordingWaveController)
    QML_NAMED_ELEMENT(RecordingWaveController)
    QML_UNCREATABLE("")
};

struct SettingsStoreForQml {
    Q_GADGET
    QML_FOREIGN(SettingsStore)
    QML_NAMED_ELEMENT(SettingsStore)
    QML_UNCREATABLE("")
};
