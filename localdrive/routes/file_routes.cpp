#include "localdrive/disk/file_kinds.h"
#include "localdrive/disk/listing.h"
#include "localdrive/routes/addresses.h"
#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"

namespace localdrive {
namespace {

constexpr std::int64_t DefaultLimit = 50;
constexpr std::int64_t HighestLimit = 200;
constexpr std::int64_t DefaultLife = 900;

// What is known of a video without looking into it for long.
void addMedia(nlohmann::json &item, Platform &platform, Drive &drive, const Node &node)
{
    const std::string category = item["category"];
    const bool isVideo = category == "video";
    if (node.size == 0 || (!isVideo && category != "image")) {
        return;
    }
    if (platform.options.offerThumbnails) {
        item["thumbnail"] = thumbnailAddress(platform, drive, node);
    }
    if (!isVideo) {
        return;
    }
    UniqueFd file = drive.openFile(node.path);
    if (const auto info = platform.media.knownInfo(MediaStore::keyOf(file.get()))) {
        item["video_media_metadata"] = {{"duration", std::to_string(info->duration)},
                                        {"width", info->width},
                                        {"height", info->height}};
    } else if (platform.options.probeListedVideos) {
        platform.media.learnLater(std::move(file));
    }
}

nlohmann::json describe(const Node &node, Platform &platform, Drive &drive)
{
    nlohmann::json item = {
        {"drive_id", drive.id()},
        {"domain_id", DomainId},
        {"file_id", drive.idOf(node.path)},
        {"parent_file_id", drive.idOf(node.parentPath())},
        {"name", node.name()},
        {"type", node.isFolder ? "folder" : "file"},
        {"hidden", false},
        {"starred", false},
        {"trashed", false},
        {"status", "available"},
        {"encrypt_mode", "none"},
        {"punish_flag", 0},
        {"created_at", isoTime(node.created)},
        {"updated_at", isoTime(node.modified)},
    };
    if (node.isFolder) {
        return item;
    }
    const std::string contentType = contentTypeOf(node.name());
    item["size"] = node.size;
    item["file_extension"] = extensionOf(node.name());
    item["content_type"] = contentType;
    item["mime_type"] = contentType;
    item["category"] = categoryOf(contentType);
    item["local_modified_at"] = isoTime(node.modified);
    addMedia(item, platform, drive, node);
    return item;
}

ListingQuery listingQuery(const Call &call, int pageCap)
{
    ListingQuery query;
    query.parentId = call.text("parent_file_id");
    query.type = call.text("type");
    query.category = call.text("category");
    query.orderBy = call.text("order_by");
    if (query.orderBy.empty()) {
        query.orderBy = "created_at";
    }
    const std::string direction = call.text("order_direction");
    query.descending = direction != "ASC";
    query.marker = call.text("marker");
    const std::int64_t asked = call.number("limit");
    const std::int64_t limit = asked == 0 ? DefaultLimit : asked;
    if (limit < 0 || limit > HighestLimit) {
        throw ApiError(400, "InvalidParameter.Limit", "limit must be 1 to 200");
    }
    if (!direction.empty() && direction != "ASC" && direction != "DESC") {
        throw ApiError(400, "InvalidParameter.OrderDirection", "ASC or DESC");
    }
    query.limit =
        static_cast<std::size_t>(pageCap > 0 ? std::min<std::int64_t>(pageCap, limit) : limit);
    return query;
}

OnConflict onConflict(const Call &call, const char *key)
{
    return call.text(key) == "auto_rename" ? OnConflict::AutoRename : OnConflict::Refuse;
}

// What the changing operations have in common in their replies.
nlohmann::json changed(Drive &drive, const std::string &fileId)
{
    return {{"drive_id", drive.id()}, {"file_id", fileId}, {"async_task_id", ""}};
}

class FileOperations final
{
public:
    explicit FileOperations(Platform &platform) : m_platform(platform) {}

    void list(Call &call) const
    {
        Drive &drive = call.drive();
        const ListingQuery query = listingQuery(call, m_platform.rules().pageCap);
        // A file that is deleted between its name and its id would be listed with a new id.
        const auto held = drive.hold();
        std::vector<Node> nodes = drive.children(drive.node(query.parentId));
        const ListingPage page = makePage(std::move(nodes), query, m_platform.secret);
        nlohmann::json items = nlohmann::json::array();
        for (const Node &node : page.nodes) {
            items.push_back(describe(node, m_platform, drive));
        }
        call.reply({{"items", items}, {"next_marker", page.nextMarker}});
    }

    void get(Call &call) const
    {
        Drive &drive = call.drive();
        const Node node = drive.node(call.text("file_id"));
        if (!node.isFolder && categoryOf(contentTypeOf(node.name())) == "video") {
            m_platform.media.info(drive.openFile(node.path).get());
        }
        call.reply(describe(node, m_platform, drive));
    }

    void downloadUrl(Call &call) const
    {
        const Node node = call.file();
        const std::int64_t asked = call.number("expire_sec");
        const std::int64_t seconds = asked > 0 ? asked : DefaultLife;
        const std::int64_t expires = m_platform.urls.expiry(std::chrono::seconds(seconds));
        call.reply({{"url", downloadAddress(m_platform, call.account->drive, node, expires)},
                    {"expiration", isoTime(expires)},
                    {"method", "GET"},
                    {"size", node.size}});
    }

    void create(Call &call) const
    {
        Drive &drive = call.drive();
        if (call.text("type") != "folder") {
            throw ApiError(400, "InvalidParameter.Type", "Only folders can be created");
        }
        const Node node = drive.createFolder(call.text("parent_file_id"), call.text("name"),
                                             onConflict(call, "check_name_mode"));
        call.reply({{"drive_id", drive.id()},
                    {"file_id", drive.idOf(node.path)},
                    {"parent_file_id", drive.idOf(node.parentPath())},
                    {"status", "available"},
                    {"file_name", node.name()},
                    {"upload_id", ""},
                    {"available", true},
                    {"exist", false},
                    {"rapid_upload", false},
                    {"part_info_list", nlohmann::json::array()}});
    }

    void update(Call &call) const
    {
        Drive &drive = call.drive();
        const Node node = drive.rename(call.text("file_id"), call.text("name"),
                                       onConflict(call, "check_name_mode"));
        m_platform.save();
        nlohmann::json reply = describe(node, m_platform, drive);
        reply["size"] = node.size;
        call.reply(reply);
    }

    void move(Call &call) const
    {
        Drive &drive = call.drive();
        const Node node = drive.move(call.text("file_id"), call.text("to_parent_file_id"),
                                     call.text("new_name"), onConflict(call, "check_name_mode"));
        m_platform.save();
        nlohmann::json reply = changed(drive, drive.idOf(node.path));
        reply["exist"] = false;
        call.reply(reply);
    }

    void copy(Call &call) const
    {
        Drive &drive = call.drive();
        const OnConflict conflict =
            call.flag("auto_rename") ? OnConflict::AutoRename : OnConflict::Refuse;
        const Node node =
            drive.copy(call.text("file_id"), call.text("to_parent_file_id"), conflict);
        call.reply(changed(drive, drive.idOf(node.path)));
    }

    void trash(Call &call) const
    {
        call.drive().trash(call.text("file_id"));
        m_platform.save();
        call.reply(changed(call.account->drive, call.text("file_id")));
    }

    void remove(Call &call) const
    {
        call.drive().remove(call.text("file_id"));
        m_platform.save();
        call.reply(changed(call.account->drive, call.text("file_id")));
    }

private:
    Platform &m_platform;
};

struct FileRoute
{
    const char *path;
    void (FileOperations::*run)(Call &) const;
};

constexpr FileRoute FileRoutes[] = {
    {"/adrive/v1\\.0/openFile/list", &FileOperations::list},
    {"/adrive/v1\\.0/openFile/get", &FileOperations::get},
    {"/adrive/v1\\.0/openFile/getDownloadUrl", &FileOperations::downloadUrl},
    {"/adrive/v1\\.0/openFile/create", &FileOperations::create},
    {"/adrive/v1\\.0/openFile/update", &FileOperations::update},
    {"/adrive/v1\\.0/openFile/move", &FileOperations::move},
    {"/adrive/v1\\.0/openFile/copy", &FileOperations::copy},
    {"/adrive/v1\\.0/openFile/recyclebin/trash", &FileOperations::trash},
    {"/adrive/v1\\.0/openFile/delete", &FileOperations::remove},
};

} // namespace

std::vector<Route> fileRoutes(Platform &platform)
{
    std::vector<Route> routes;
    for (const FileRoute &entry : FileRoutes) {
        routes.emplace_back("POST", entry.path, Access::Token,
                            [operations = FileOperations(platform), run = entry.run](Call &call) {
                                (operations.*run)(call);
                            });
    }
    return routes;
}

} // namespace localdrive
