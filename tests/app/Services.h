#pragma once

#include "account/SupabaseAuthClient.h"
#include "app/SessionLifecycle.h"
#include "app/Windows.h"
#include "desktop/InputFocusMonitor.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "storage/SettingsStore.h"
#include "support/HttpServer.h"

#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QQmlApplicationEngine>
#include <QTest>
#include <QWindow>

// The services of the running program, in the order in which main creates them. The auth service is
// a server that the test answers for.
struct Services {
    Services()
    {
        if (!settings.ensureScaffold(nullptr)) {
            qFatal("No private directory");
        }
    }

    /// The windows of this document that exist, shown or hidden.
    static QList<QWindow*> windowsTitled(const QString& title)
    {
        QList<QWindow*> found;
        for (QWindow* window : QGuiApplication::allWindows()) {
            if (window->title() == title) {
                found.append(window);
            }
        }
        return found;
    }

    /// What the windows and requests of a test have left with the application.
    static void removeRemains()
    {
        qDeleteAll(qApp->findChildren<QQmlApplicationEngine*>());
        QTRY_VERIFY(qApp->findChildren<QNetworkAccessManager*>().isEmpty());
    }

    HttpServer authServer;
    SettingsStore settings;
    SupabaseAuthClient auth{authServer.url(), QStringLiteral("anon")};
    OverlayStateModel overlay;
    HistoryRepository history{settings.paths().historyFile};
    InputFocusMonitor focusMonitor;
    TranscriptionPipeline pipeline{&overlay, &history, &focusMonitor};
    Windows windows{settings, auth, overlay, history, pipeline};
    SessionLifecycle session{settings, auth, overlay, focusMonitor, pipeline, windows};
};
