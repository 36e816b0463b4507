#include "localdrive/disk/file_kinds.h"

#include <algorithm>
#include <cctype>

namespace localdrive {
namespace {

struct ContentType
{
    const char *extension;
    const char *type;
};

constexpr ContentType ContentTypes[] = {
    {"mkv", "video/x-matroska"},
    {"mp4", "video/mp4"},
    {"m4v", "video/mp4"},
    {"mov", "video/quicktime"},
    {"avi", "video/x-msvideo"},
    {"wmv", "video/x-ms-wmv"},
    {"flv", "video/x-flv"},
    {"webm", "video/webm"},
    {"ts", "video/mp2t"},
    {"m2ts", "video/mp2t"},
    {"mpg", "video/mpeg"},
    {"mpeg", "video/mpeg"},
    {"3gp", "video/3gpp"},
    {"rmvb", "video/vnd.rn-realvideo"},
    {"ogv", "video/ogg"},
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"png", "image/png"},
    {"gif", "image/gif"},
    {"webp", "image/webp"},
    {"bmp", "image/bmp"},
    {"heic", "image/heic"},
    {"svg", "image/svg+xml"},
    {"mp3", "audio/mpeg"},
    {"flac", "audio/flac"},
    {"wav", "audio/wav"},
    {"m4a", "audio/mp4"},
    {"aac", "audio/aac"},
    {"ogg", "audio/ogg"},
    {"opus", "audio/opus"},
    {"wma", "audio/x-ms-wma"},
    {"txt", "text/plain"},
    {"md", "text/markdown"},
    {"csv", "text/csv"},
    {"html", "text/html"},
    {"xml", "text/xml"},
    {"srt", "application/x-subrip"},
    {"ass", "text/x-ssa"},
    {"ssa", "text/x-ssa"},
    {"vtt", "text/vtt"},
    {"json", "application/json"},
    {"pdf", "application/pdf"},
    {"epub", "application/epub+zip"},
    {"doc", "application/msword"},
    {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    {"xls", "application/vnd.ms-excel"},
    {"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"ppt", "application/vnd.ms-powerpoint"},
    {"pptx", "application/vnd.openxmlformats-officedocument.presentationml.presentation"},
    {"odt", "application/vnd.oasis.opendocument.text"},
    {"zip", "application/zip"},
    {"rar", "application/vnd.rar"},
    {"7z", "application/x-7z-compressed"},
    {"tar", "application/x-tar"},
    {"gz", "application/gzip"},
    {"bz2", "application/x-bzip2"},
    {"xz", "application/x-xz"},
};

struct CategoryRule
{
    const char *prefix; // Of the content type.
    const char *category;
};

constexpr CategoryRule CategoryRules[] = {
    {"video/", "video"},
    {"image/", "image"},
    {"audio/", "audio"},
    {"text/", "doc"},
    {"application/pdf", "doc"},
    {"application/epub", "doc"},
    {"application/msword", "doc"},
    {"application/vnd.openxmlformats", "doc"},
    {"application/vnd.ms-", "doc"},
    {"application/vnd.oasis", "doc"},
    {"application/zip", "zip"},
    {"application/vnd.rar", "zip"},
    {"application/x-7z", "zip"},
    {"application/x-tar", "zip"},
    {"application/gzip", "zip"},
    {"application/x-bzip2", "zip"},
    {"application/x-xz", "zip"},
};

} // namespace

std::string extensionOf(const std::string &name)
{
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) {
        return {};
    }
    std::string extension = name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

std::string contentTypeOf(const std::string &name)
{
    const std::string extension = extensionOf(name);
    for (const ContentType &entry : ContentTypes) {
        if (extension == entry.extension) {
            return entry.type;
        }
    }
    return "application/octet-stream";
}

std::string categoryOf(const std::string &contentType)
{
    for (const CategoryRule &rule : CategoryRules) {
        if (contentType.rfind(rule.prefix, 0) == 0) {
            return rule.category;
        }
    }
    return "others";
}

} // namespace localdrive
