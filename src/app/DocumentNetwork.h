#pragma once

class QQmlEngine;

/// Holds the requests of the engine's documents to the rules of all others (NetworkManager). To be
/// called before the engine loads a document.
void restrictNetwork(QQmlEngine& engine);
