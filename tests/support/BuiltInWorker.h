#pragma once

#include "support/HttpServer.h"

#include <memory>

/// A server in place of the worker that the program was built for, for as long as it lives. Its
/// port is its own, and this process's connections to the port that the build knows go there.
/// Without one they are refused.
std::unique_ptr<HttpServer> startBuiltInWorker();
