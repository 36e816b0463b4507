#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "localdrive/wire/clock.h"

namespace localdrive {

// What breaks on the wire. Everything but the kind is left as the operation made it.
enum class Break {
    None,
    CloseBeforeReply, // The connection closes without a byte.
    CloseInsideBody,  // Head and bodyBytes of the body, then the connection closes.
    BrokenJson,       // The body is cut in the middle, with a Content-Length that fits.
    NoContentLength,  // No Content-Length; the body ends where the connection closes.
    Trickle,          // The body comes at bytesPerSecond.
    Freeze,           // No byte comes, and the connection stays open.
    FreezeInsideBody, // Head and bodyBytes of the body, then silence.
};

// A fault for the requests in whose path (decoded, without the query) a glob is found.
struct Fault
{
    std::string path;   // With *, ?, [a-z] and, between two globs, |; empty: every path.
    std::string method; // Empty: any.
    int count = 1;      // So many requests; negative: until cleared.
    int skip = 0;       // So many matching requests pass unharmed first.
    Milliseconds delay{0};
    int status = 0;      // Not 0: the operation is not run, this status and an error are the reply.
    std::string code;    // Of the error body; empty: "InjectedFault".
    std::string message; // Of the error body.
    std::optional<std::string> body; // Replaces the body of the reply (as JSON content type).
    Break wire = Break::None;
    std::int64_t bodyBytes = -1; // Negative: half of the body.
    std::int64_t bytesPerSecond = 1024;
};

} // namespace localdrive
