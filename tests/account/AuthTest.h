#pragma once

#include "account/SupabaseAuthClient.h"
#include "support/HttpServer.h"
#include "support/TarqTest.h"

#include <QStringList>

#include <memory>

// Base of the auth client's tests: a client, the project's server that it talks to, and what it has
// signalled.
class AuthTest : public TarqTest
{
    Q_OBJECT

protected:
    using Operation = void (*)(SupabaseAuthClient&);
    static void signIn(SupabaseAuthClient& client);
    static void signUp(SupabaseAuthClient& client);
    static void refresh(SupabaseAuthClient& client);
    static void reset(SupabaseAuthClient& client);
    /// A test row for each of the four.
    static void addOperations();

    /// Another client in place of the one that each test begins with.
    void useClient(std::unique_ptr<SupabaseAuthClient> client);

    static HttpAnswer noAnswer();
    static HttpAnswer droppedConnection();
    static HttpAnswer rawAnswer(const QByteArray& bytes);

    static void expectHttpWarning(int status, const QByteArray& body);
    /// Waits for a signal, and returns all so far as "name: argument".
    QString outcome();

    static const QByteArray kSession;
    static const QString kSuccess; ///< the outcome of kSession
    static const QString kEmptySuccess;
    static const QString kResetFailed;

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<SupabaseAuthClient> m_client;
    QStringList m_outcomes;

protected slots:
    void init();
    void cleanup();
};
