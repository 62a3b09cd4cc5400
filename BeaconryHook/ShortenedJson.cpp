#include "BeaconryHook/ShortenedJson.h"

#include "BeaconryBase/JsonText.h"

#include <algorithm>
#include <vector>

namespace pelorin::hook {

namespace {

constexpr std::string_view mark = " […] ";
// Every level reads all that is below it once more.
constexpr int deepestLevel = 32;

/// A member with its name, or an element without one.
struct Item {
    std::string_view name;
    std::string_view value;
    bool isKept = false;

    /// What it takes beside its value, the comma included.
    std::size_t frame() const { return name.empty() ? 1 : name.size() + 2; }
};

/// The size of the character that begins the text of a string: an escape, a pair of them, or a sequence of bytes.
std::size_t characterSize(std::string_view text) {
    constexpr std::size_t unicodeEscape = 6;
    if (text.starts_with("\\u")) {
        const bool isHighHalf = text.size() > 3 && (text[2] | 0x20) == 'd' &&
                                std::string_view("89abAB").find(text[3]) != std::string_view::npos;
        const bool isPair = isHighHalf && text.substr(unicodeEscape).starts_with("\\u");
        return std::min(text.size(), isPair ? 2 * unicodeEscape : unicodeEscape);
    }
    if (text.front() == '\\')
        return std::min<std::size_t>(text.size(), 2);
    std::size_t size = 1;
    while (size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
        ++size;
    return size;
}

void appendShortenedString(std::string& out, std::string_view value, std::size_t size) {
    const std::string_view text = value.substr(1, value.size() - 2);
    const std::size_t room = size - 2 - mark.size();
    const std::size_t headLimit = room - room / 2;
    const std::size_t tailStartLimit = text.size() - room / 2;
    std::size_t head = 0;
    std::size_t position = 0;
    while (position < tailStartLimit) {
        position += characterSize(text.substr(position));
        if (position <= headLimit)
            head = position;
    }
    out += '"';
    out += text.substr(0, head);
    out += mark;
    out += text.substr(position);
    out += '"';
}

std::vector<Item> itemsOf(std::string_view value) {
    std::vector<Item> items;
    JsonMemberReader members(value);
    while (const auto member = members.next())
        items.push_back({.name = member->name, .value = member->value});
    JsonElementReader elements(value);
    while (const auto element = elements.next())
        items.push_back({.name = {}, .value = *element});
    return items;
}

/// Keeps items from both ends while there is room for them, shortened as far as can be. Returns the room that is left
/// for values.
std::size_t keepFromBothEnds(std::vector<Item>& items, std::size_t room) {
    std::size_t left = room;
    std::size_t frames = 0;
    for (std::size_t turn = 0; turn < items.size(); ++turn) {
        Item& item = items[turn % 2 == 0 ? turn / 2 : items.size() - 1 - turn / 2];
        const std::size_t least = item.frame() + std::min(item.value.size(), leastShortenedSize);
        if (least > left)
            continue;
        left -= least;
        frames += item.frame();
        item.isKept = true;
    }
    return room - frames;
}

/// The greatest size that all values that are kept may have, so that together they fit.
std::size_t greatestShare(const std::vector<Item>& items, std::size_t room) {
    std::size_t share = leastShortenedSize;
    for (std::size_t step = std::max(room, share); step > 0; step /= 2) {
        std::size_t sum = 0;
        for (const Item& item : items)
            sum += item.isKept ? std::min(item.value.size(), share + step) : 0;
        if (sum <= room)
            share += step;
    }
    return share;
}

void appendShortened(std::string& out, std::string_view value, std::size_t size, int level);

void appendShortenedItems(std::string& out, std::string_view value, std::size_t size, int level) {
    const bool isObject = value.front() == '{';
    out += value.front();
    if (level < deepestLevel) {
        std::vector<Item> items = itemsOf(value);
        const std::size_t share = greatestShare(items, keepFromBothEnds(items, size - 2));
        bool isFirst = true;
        for (const Item& item : items) {
            if (!item.isKept)
                continue;
            if (!isFirst)
                out += ',';
            isFirst = false;
            if (isObject) {
                out += item.name;
                out += ':';
            }
            appendShortened(out, item.value, share, level + 1);
        }
    }
    out += isObject ? '}' : ']';
}

void appendShortened(std::string& out, std::string_view value, std::size_t size, int level) {
    if (value.size() <= size)
        out += value;
    else if (value.front() == '"')
        appendShortenedString(out, value, size);
    else if (value.front() == '{' || value.front() == '[')
        appendShortenedItems(out, value, size, level);
    else
        out += "null";
}

} // namespace

std::string shortenedJson(std::string_view value, std::size_t size) {
    std::string shortened;
    appendShortened(shortened, value, size, 0);
    return shortened;
}

} // namespace pelorin::hook
