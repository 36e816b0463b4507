#include "api/session/patient_reading.h"

#include "api/session/refusal_note.h"
#include "net/reply_guard.h"

namespace {

void attempt(int number, ReplyGuard &replies, const OpenApiClient &client,
             const ReadingCall &reading, const ApiFailure &fail)
{
    const RefusalNote refusal;
    const auto failed = replies.guard(
        [number, &replies, client, reading, fail, refusal](const QString &error, int code) {
            if (refusal.mayAskAgain(CallKind::Reading, code, number)) {
                attempt(number + 1, replies, client, reading, fail);
            } else {
                fail(error, code);
            }
        });
    replies.limitWait(reading(client.whenRefused(refusal.handler()), failed));
}

} // namespace

void readPatiently(ReplyGuard &replies, const OpenApiClient &client, const ReadingCall &reading,
                   const ApiFailure &fail)
{
    attempt(1, replies, client, reading, fail);
}
