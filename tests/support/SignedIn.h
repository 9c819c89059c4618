#pragma once

#include "net/ApiClient.h"
#include "support/ScriptedServer.h"

#include <QSignalSpy>

#include <memory>

/// A client that has signed in to the server, whose token is "secret-token".
inline std::unique_ptr<ApiClient> signedIn(ScriptedServer &server)
{
    server.on("POST /client-api/auth/login", R"({"access_token":"secret-token"})");
    auto client = std::make_unique<ApiClient>();
    QSignalSpy done(client.get(), &ApiClient::loginSucceeded);
    client->doLogin(server.url(), "operator", "password");
    if (!done.wait())
        qFatal("the sign-in failed");
    return client;
}
