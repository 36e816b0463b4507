#include "localdrive/disk/listing.h"

#include <algorithm>
#include <functional>
#include <utility>

#include <nlohmann/json.hpp>

#include "localdrive/disk/file_kinds.h"
#include "localdrive/wire/api_error.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {
namespace {

// Place of an entry in an order: the number first, then the name, which is unique in a folder.
using Place = std::pair<std::int64_t, std::string>;

struct Order
{
    const char *name;
    std::int64_t (*key)(const Node &);
};

constexpr Order Orders[] = {
    {"name", [](const Node &) { return std::int64_t{0}; }},
    {"size", [](const Node &node) { return node.size; }},
    {"updated_at", [](const Node &node) { return node.modified; }},
    {"created_at", [](const Node &node) { return node.created; }},
};

const Order &orderOf(const ListingQuery &query)
{
    for (const Order &order : Orders) {
        if (query.orderBy == order.name) {
            return order;
        }
    }
    throw ApiError(400, "InvalidParameter.OrderBy", "Unknown order_by");
}

bool isWanted(const Node &node, const ListingQuery &query)
{
    if (query.type == "file" && node.isFolder) {
        return false;
    }
    if (query.type == "folder" && !node.isFolder) {
        return false;
    }
    if (query.category.empty()) {
        return true;
    }
    const std::string category = categoryOf(contentTypeOf(node.name()));
    return !node.isFolder &&
           (',' + query.category + ',').find(',' + category + ',') != std::string::npos;
}

std::string describe(const ListingQuery &query)
{
    return query.parentId + '\n' + query.type + '\n' + query.category + '\n' + query.orderBy +
           (query.descending ? "\nDESC" : "\nASC");
}

std::string sign(const std::string &place, const ListingQuery &query, const std::string &secret)
{
    return hmacHex(secret, "marker\n" + describe(query) + '\n' + place).substr(0, 16);
}

std::string makeMarker(const Place &place, const ListingQuery &query, const std::string &secret)
{
    const std::string text = nlohmann::json(place).dump();
    return toBase64Url(sign(text, query, secret) + text);
}

Place readMarker(const ListingQuery &query, const std::string &secret)
{
    constexpr std::size_t SignatureLength = 16;
    const std::string text = fromBase64Url(query.marker).value_or(std::string());
    const std::string place = text.size() > SignatureLength ? text.substr(SignatureLength) : "";
    const std::string signature = text.substr(0, SignatureLength);
    if (place.empty() || !equalInConstantTime(sign(place, query, secret), signature)) {
        throw ApiError(400, "InvalidParameter.Marker", "The marker is not of this listing");
    }
    return nlohmann::json::parse(place).get<Place>();
}

using Entry = std::pair<Place, Node>;

bool precedes(const Place &a, const Place &b, const ListingQuery &query)
{
    return query.descending ? b < a : a < b;
}

// What the query wants, in its order.
std::vector<Entry> sortedEntries(std::vector<Node> nodes, const ListingQuery &query)
{
    const Order &order = orderOf(query);
    std::vector<Entry> entries;
    for (Node &node : nodes) {
        if (isWanted(node, query)) {
            Place place(order.key(node), node.name());
            entries.emplace_back(std::move(place), std::move(node));
        }
    }
    std::sort(entries.begin(), entries.end(), [&query](const Entry &a, const Entry &b) {
        return precedes(a.first, b.first, query);
    });
    return entries;
}

} // namespace

ListingPage makePage(std::vector<Node> nodes, const ListingQuery &query, const std::string &secret)
{
    std::vector<Entry> wanted = sortedEntries(std::move(nodes), query);
    auto begin = wanted.begin();
    if (!query.marker.empty()) {
        begin = std::upper_bound(begin, wanted.end(), readMarker(query, secret),
                                 [&query](const Place &place, const Entry &entry) {
                                     return precedes(place, entry.first, query);
                                 });
    }
    const auto left = static_cast<std::size_t>(wanted.end() - begin);
    const auto end = begin + static_cast<std::ptrdiff_t>(std::min(query.limit, left));

    ListingPage page;
    if (end != wanted.end()) {
        page.nextMarker = makeMarker(std::prev(end)->first, query, secret);
    }
    std::transform(begin, end, std::back_inserter(page.nodes),
                   [](Entry &entry) { return std::move(entry.second); });
    return page;
}

} // namespace localdrive
