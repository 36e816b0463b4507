#include "localdrive/wire/faults.h"

#include <algorithm>
#include <stdexcept>

namespace localdrive {
namespace {

// Whether a character fits one sign of a glob; goes on to the next sign.
bool fits(char c, const std::string &glob, std::size_t &at)
{
    const char sign = glob[at++];
    if (sign != '[') {
        return sign == '?' || sign == c;
    }
    bool isListed = false;
    while (glob[at] != ']') {
        const bool isRange = glob[at + 1] == '-' && glob[at + 2] != ']';
        const char last = isRange ? glob[at + 2] : glob[at];
        isListed = isListed || (glob[at] <= c && c <= last);
        at += isRange ? 3 : 1;
    }
    ++at;
    return isListed;
}

// Whether a piece of a glob without asterisks fits there; where the path goes on behind it.
bool fitsAt(const std::string &path, std::size_t from, const std::string &piece, std::size_t &end)
{
    end = from;
    for (std::size_t at = 0; at < piece.size(); ++end) {
        if (end == path.size() || !fits(path[end], piece, at)) {
            return false;
        }
    }
    return true;
}

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
    }
    return parts;
}

bool isGlobFound(const std::string &glob, const std::string &path)
{
    std::size_t from = 0;
    for (const std::string &piece : split(glob, '*')) {
        std::size_t end = 0;
        while (from <= path.size() && !fitsAt(path, from, piece, end)) {
            ++from;
        }
        if (from > path.size()) {
            return false;
        }
        from = end;
    }
    return true;
}

bool isFound(const std::string &globs, const std::string &path)
{
    const std::vector<std::string> choices = split(globs, '|');
    return std::any_of(choices.begin(), choices.end(),
                       [&path](const std::string &glob) { return isGlobFound(glob, path); });
}

// An expression would be taken for a glob that never strikes. A list of characters holds none of
// those that part a glob.
bool isGlob(const std::string &text)
{
    bool isList = false;
    for (const char c : text) {
        const bool isBracket = c == '[' || c == ']';
        if (isBracket ? isList == (c == '[') : isList && (c == '*' || c == '|')) {
            return false;
        }
        isList = isBracket ? !isList : isList;
    }
    return !isList && text.find_first_of("^$\\()+") == std::string::npos &&
           text.find(".*") == std::string::npos;
}

} // namespace

void Faults::add(const Fault &fault)
{
    if (!isGlob(fault.path)) {
        throw std::invalid_argument("no glob for a path: " + fault.path);
    }
    const std::lock_guard lock(m_mutex);
    m_waiting.push_back(fault);
}

void Faults::clear()
{
    const std::lock_guard lock(m_mutex);
    m_waiting.clear();
    ++m_clearCount;
}

std::optional<Fault> Faults::take(const std::string &method, const std::string &path)
{
    const std::lock_guard lock(m_mutex);
    for (Fault &fault : m_waiting) {
        const bool isMeant = fault.count != 0 && (fault.method.empty() || fault.method == method) &&
                             isFound(fault.path, path);
        if (!isMeant) {
            continue;
        }
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        if (fault.count > 0) {
            --fault.count;
        }
        return fault;
    }
    return std::nullopt;
}

} // namespace localdrive
