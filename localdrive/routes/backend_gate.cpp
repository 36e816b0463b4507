#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"

namespace localdrive {
namespace {

// Asks the product backend what a client asks, to the letter.
void handOn(Platform &platform, Call &call)
{
    const std::string backend = platform.nextBackend();
    if (backend.empty()) {
        throw ApiError(404, "NotFound.Api", "There is no product backend behind this drive");
    }
    httplib::Client client(backend);
    client.set_url_encode(false);
    const httplib::Request &request = call.request;
    const auto reply =
        request.method == "GET"
            ? client.Get(request.target)
            : client.Post(request.target, request.body, request.get_header_value("Content-Type"));
    if (!reply) {
        throw ApiError(502, "BackendUnavailable", httplib::to_string(reply.error()));
    }
    call.response.status = reply->status;
    call.response.set_content(reply->body, JsonType);
}

} // namespace

std::vector<Route> backendGate(Platform &platform)
{
    const auto run = [&platform](Call &call) { handOn(platform, call); };
    return {{"GET", "/app/.*", Access::Open, run}, {"POST", "/app/.*", Access::Open, run}};
}

} // namespace localdrive
