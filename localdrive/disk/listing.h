#pragma once

#include <string>
#include <vector>

#include "localdrive/disk/folder_tree.h"

namespace localdrive {

// What a listing asks for.
struct ListingQuery
{
    std::string parentId;
    std::string type;     // "file", "folder"; "all" or empty: both.
    std::string category; // Empty: any. Others: files of the category only; several by comma.
    std::string orderBy;  // name, size, updated_at or created_at.
    bool descending = false;
    std::size_t limit = 50;
    std::string marker; // Of the previous page; empty: the first page.
};

struct ListingPage
{
    std::vector<Node> nodes;
    std::string nextMarker; // Empty on the last page.
};

// Sorts, filters and cuts out a page. A marker holds the place of the last entry given, not a
// count, so that entries which come or go between two pages are neither skipped nor repeated
// beside it. It is good for the same listing only; another one fails by ApiError 400.
ListingPage makePage(std::vector<Node> nodes, const ListingQuery &query, const std::string &secret);

} // namespace localdrive
