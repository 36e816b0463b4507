#pragma once

#include <optional>

#include <QString>

struct HttpRefusal;

// What users can be told of a refusal.
enum class ApiTrouble {
    Other,
    TooFast,
    DriveFull,
    NoRight,
    NameTaken,
    NotTranscodedYet,
    CannotBeTranscoded,
};

// Why the server refused an operation: the error body's `code` and `message`, empty where it had
// none.
struct ApiRefusal
{
    int status = 0;
    QString code;
    QString message;
    ApiTrouble trouble = ApiTrouble::Other;
};

[[nodiscard]] ApiRefusal apiRefusal(const HttpRefusal &refusal);

// For the user; empty for ApiTrouble::Other, where the operation's own words serve.
[[nodiscard]] QString troubleText(ApiTrouble trouble);

enum class CallKind { Reading, Changing };

// Whether an operation that failed with this code may be asked for once more by itself. A call that
// changes the drive may have been carried out though its answer was lost: it is sent again only
// when it cannot have arrived, or when the server turned it away as too fast.
[[nodiscard]] bool mayAskAgain(CallKind kind, int code,
                               const std::optional<ApiRefusal> &refusal = std::nullopt);
