#pragma once

#include <functional>
#include <optional>

#include <QString>

#include "api/session/open_api_client.h"

// One exchange with the Open API. Without a user the given token is sent as it is; with one, the
// token stored with that user.
struct ApiRequest
{
    QString userId;
    QString accessToken;
    QString path;
    // The JSON body to post; a request without one is a GET.
    std::optional<QString> body;
    std::function<void(const QString &reply)> success;
    ApiFailure fail;
};

// Sends the request with a valid token. One of the two callbacks runs, once and later.
void sendApiRequest(const ApiRequest &request);
