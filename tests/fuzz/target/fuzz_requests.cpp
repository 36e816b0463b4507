// Cuts hostile bytes into requests as the product backend does. The first byte of an input says
// in how large pieces the rest arrives.

#include <cstdlib>
#include <vector>

#include "backend/reports/report.h"
#include "backend/wire/address.h"
#include "backend/wire/request.h"

namespace {

using backend::RequestReader;

void require(bool holds)
{
    if (!holds) {
        abort();
    }
}

// What a connection makes of the bytes: its requests, and the refusal of what follows.
std::vector<std::string> outcome(const std::string &bytes, std::size_t piece)
{
    std::vector<std::string> result;
    RequestReader reader;
    for (std::size_t i = 0; i < bytes.size(); i += piece) {
        reader.append(&bytes[i], std::min(piece, bytes.size() - i));
        while (reader.state() == RequestReader::State::Complete) {
            const backend::Request request = reader.take();
            require(request.path.at(0) == '/' && request.body.size() <= backend::LargestBody);
            result.push_back(request.method + ' ' + request.path + ' ' + request.forwardedFor +
                             (request.closesConnection ? " close " : " keep ") + request.body);
            for (const auto &[name, value] : request.query) {
                result.back() += '\n' + name + '=' + value;
            }
            backend::clientAddress({}, request.forwardedFor, {*backend::Network::parse("::/0")});
            backend::reportLine(request.body, "now");
        }
    }
    if (reader.state() == RequestReader::State::Refused) {
        require(reader.refusal().status >= 400 && reader.refusal().status < 600);
        result.push_back(std::to_string(reader.refusal().status));
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 0) {
        const std::string bytes(reinterpret_cast<const char *>(data + 1), size - 1);
        // How the network cuts the bytes makes no difference.
        require(outcome(bytes, data[0] % 32 + 1U) == outcome(bytes, size));
    }
    return 0;
}
