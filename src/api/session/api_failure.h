#pragma once

#include <optional>

#include <QString>

struct HttpRefusal;

// What users can be told of an operation that failed.
enum class ApiTrouble {
    Other,
    TooFast,
    DriveFull,
    NoRight,
    NameTaken,
    Gone,
    LoggedOut,
    NotTranscodedYet,
    CannotBeTranscoded,
    NotJson, // a success without a JSON object: its record is empty and says nothing
    ServerFailed,
    Unreachable,
};

// What the server said beside the reply's error: the body's `code` and `message`, empty where it
// had none.
struct ApiRefusal
{
    int status = 0;
    QString code;
    QString message;
    ApiTrouble trouble = ApiTrouble::Other;
};

[[nodiscard]] ApiRefusal apiRefusal(const HttpRefusal &refusal);

// Why an operation failed, by the refusal where there was one that says more than the code of the
// fail callback.
[[nodiscard]] ApiTrouble troubleOf(int code,
                                   const std::optional<ApiRefusal> &refusal = std::nullopt);

// For the user; empty for ApiTrouble::Other, where the operation's own words serve.
[[nodiscard]] QString troubleText(ApiTrouble trouble);

// The operation's own words, with the reason behind them where one is known: "移动失败：没有权限".
[[nodiscard]] QString withReason(const QString &text, int code,
                                 const std::optional<ApiRefusal> &refusal = std::nullopt);

enum class CallKind { Reading, Changing };

// Whether an operation that failed with this code may be asked for once more by itself. A call that
// changes the drive may have been carried out though its answer was lost: it is sent again only
// when it cannot have arrived, or when the server turned it away as too fast.
[[nodiscard]] bool mayAskAgain(CallKind kind, int code,
                               const std::optional<ApiRefusal> &refusal = std::nullopt);

// Whether a change that failed with this code may have been carried out all the same, or the drive
// is no longer what it was taken for: only a listing says what is true.
[[nodiscard]] bool leavesOpenWhatIsTrue(int code);
