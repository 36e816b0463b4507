#pragma once

class QString;
class QUrl;

// Whether the program may ask this address: http or https, and a host. Addresses come from servers
// and could else name files, pipes or what other programs serve. Every way out of the program
// calls this first; redirects are not followed anywhere.
[[nodiscard]] bool mayBeAsked(const QUrl &address);

// A value as it stands in a URL. QUrlQuery leaves a plus sign alone, which servers read as a blank.
[[nodiscard]] QString percentEncoded(const QString &value);
