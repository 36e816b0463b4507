#pragma once

#include <string>

namespace localdrive {

// Lower-case extension without the dot; empty when there is none or the name begins with it.
std::string extensionOf(const std::string &name);

// Content type by extension; "application/octet-stream" when unknown.
std::string contentTypeOf(const std::string &name);

// The Open API's category of a content type: video, image, audio, doc, zip or others.
std::string categoryOf(const std::string &contentType);

} // namespace localdrive
