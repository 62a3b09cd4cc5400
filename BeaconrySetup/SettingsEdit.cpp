#include "BeaconrySetup/SettingsEdit.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconrySetup/JsonNode.h"
#include "BeaconrySetup/StrictJson.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace pelorin::setup {

namespace {

constexpr std::string_view spaces = " \t\n\r";
constexpr std::string_view hooksName = "hooks";

/// A member of an object or an element of an array, by its place in the text.
struct Item {
    std::size_t begin = 0;
    std::size_t end = 0;
    /// As it stands; empty for an element.
    std::string_view name = {};
    std::string_view value = {};
};

struct Container {
    /// Behind the opening bracket.
    std::size_t begin = 0;
    /// At the closing bracket.
    std::size_t end = 0;
    std::vector<Item> items = {};

    std::size_t gapBefore(std::size_t index) const { return index == 0 ? begin : items[index - 1].end; }
};

struct Replacement {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::string text = {};
};

std::string replaced(std::string_view text, std::vector<Replacement> replacements) {
    std::stable_sort(replacements.begin(), replacements.end(),
                     [](const Replacement& one, const Replacement& other) { return one.begin < other.begin; });
    std::string out;
    std::size_t position = 0;
    for (const Replacement& replacement : replacements) {
        out += text.substr(position, replacement.begin - position);
        out += replacement.text;
        position = replacement.end;
    }
    out += text.substr(position);
    return out;
}

/// A text that is known to be one strict JSON object, and where its parts stand.
class Document {
public:
    explicit Document(std::string_view text) : m_text(text) {
        const std::string_view bare = withoutByteOrderMark(text);
        const std::size_t start = text.size() - bare.size() + bare.find_first_not_of(spaces);
        m_root = text.substr(start, text.find_last_not_of(spaces) + 1 - start);
    }

    std::string_view text() const { return m_text; }
    std::string_view root() const { return m_root; }
    std::string_view beforeRoot() const { return m_text.substr(0, offset(m_root)); }
    std::string_view behindRoot() const { return m_text.substr(offset(m_root) + m_root.size()); }

    Container container(std::string_view value) const {
        Container found;
        found.begin = offset(value) + 1;
        found.end = offset(value) + value.size() - 1;
        JsonMemberReader members(value);
        while (const auto member = members.next())
            found.items.push_back({offset(member->name), end(member->value), member->name, member->value});
        JsonElementReader elements(value);
        while (const auto element = elements.next())
            found.items.push_back({offset(*element), end(*element), {}, *element});
        return found;
    }

    std::string_view span(std::size_t begin, std::size_t spanEnd) const {
        return m_text.substr(begin, spanEnd - begin);
    }

    TextStyle style() const {
        TextStyle style;
        const std::size_t lineEnd = m_text.find('\n');
        if (lineEnd != std::string_view::npos && lineEnd > 0 && m_text[lineEnd - 1] == '\r')
            style.newline = "\r\n";
        const Container root = container(m_root);
        if (root.items.empty())
            return style;
        const Item& first = root.items.front();
        const std::string_view gap = span(root.begin, first.begin);
        if (gap.find('\n') != std::string_view::npos)
            style.unit = indentationIn(gap);
        if (first.begin + first.name.size() + 1 + first.value.size() == first.end) {
            style.colon = ":";
            style.comma = ",";
        }
        return style;
    }

    /// What stands between the last line end of a gap and its end.
    static std::string_view indentationIn(std::string_view gap) { return gap.substr(gap.find_last_of("\n\r") + 1); }

    /// What the line that holds this place is indented by.
    std::string indentationAt(std::size_t position) const {
        const std::size_t lineEnd = position == 0 ? std::string_view::npos : m_text.find_last_of("\n\r", position - 1);
        const std::size_t start = lineEnd == std::string_view::npos ? 0 : lineEnd + 1;
        const std::size_t textStart = std::min(m_text.find_first_not_of(" \t", start), position);
        return std::string(span(start, textStart));
    }

private:
    std::size_t offset(std::string_view part) const { return static_cast<std::size_t>(part.data() - m_text.data()); }
    std::size_t end(std::string_view part) const { return offset(part) + part.size(); }

    std::string_view m_text;
    std::string_view m_root;
};

/// The value under the name in a container of members, or an empty text.
std::string_view valueIn(const Container& object, std::string_view name) {
    for (const Item& item : object.items) {
        if (jsonStringEquals(item.name, name))
            return item.value;
    }
    return {};
}

bool holdsNothing(std::string_view text) {
    return withoutByteOrderMark(text).find_first_not_of(spaces) == std::string_view::npos;
}

// The marks.

/// How many bytes of white space an empty list or object held before it was filled; nothing when it was made for us.
std::optional<std::size_t> emptyBefore(std::string_view gapBeforeFirst) {
    const std::size_t lastSign = gapBeforeFirst.find_last_not_of(" \t");
    gapBeforeFirst = gapBeforeFirst.substr(0, lastSign == std::string_view::npos ? 0 : lastSign + 1);
    for (const std::string_view blankLine : {"\r\n\r\n", "\n\n"}) {
        if (gapBeforeFirst.ends_with(blankLine))
            return gapBeforeFirst.size() - blankLine.size();
    }
    return std::nullopt;
}

void appendMadeFileMark(std::string& out, std::string_view newline, std::size_t missingFolders) {
    for (std::size_t count = 0; count < missingFolders + 2; ++count)
        out += newline;
}

/// What a file was whose text had no object before us; nothing when the marks don't tell that.
std::optional<SettingsImage> fileBefore(const Document& document) {
    const std::string_view behind = document.behindRoot();
    const std::string_view newline = behind.starts_with("\r\n") ? "\r\n" : "\n";
    std::size_t lines = 0;
    std::string_view rest = behind;
    for (; rest.starts_with(newline); rest.remove_prefix(newline.size()))
        ++lines;
    if (!rest.empty() || lines < 2)
        return std::nullopt;
    std::string_view before = document.beforeRoot();
    if (before.empty())
        return SettingsImage{std::nullopt, lines - 2};
    if (lines > 2 || !before.ends_with(newline))
        return std::nullopt;
    before.remove_suffix(newline.size());
    return SettingsImage{std::string(before)};
}

// Taking out.

/// What becomes of a value from which our hooks are taken.
enum class Removal { untouched, edited, vanished };

class Stripper {
public:
    Stripper(const Document& document, const HookPlan& plan) : m_document(document), m_plan(plan) {}

    Removal stripHooks(std::string_view hooks, std::vector<Replacement>& edits) {
        return strip(hooks, '{', edits, [this](const Item& event, std::vector<Replacement>& inner) {
            return stripEvent(event.value, inner);
        });
    }

    /// Takes the items out that `isGone` names, as if they had never been appended.
    Removal remove(const Container& container, const std::vector<bool>& isGone, std::vector<Replacement>& edits) const {
        const auto gone = static_cast<std::size_t>(std::count(isGone.begin(), isGone.end(), true));
        if (gone == 0)
            return Removal::untouched;
        if (gone == container.items.size()) {
            const auto before = emptyBefore(m_document.span(container.begin, container.items.front().begin));
            if (!before)
                return Removal::vanished;
            edits.push_back({container.begin + *before, container.end});
            return Removal::edited;
        }
        for (std::size_t index = 0; index < isGone.size(); ++index) {
            if (!isGone[index])
                continue;
            const std::size_t first = index;
            while (index + 1 < isGone.size() && isGone[index + 1])
                ++index;
            if (first > 0)
                edits.push_back({container.items[first - 1].end, container.items[index].end});
            else
                edits.push_back({container.items[first].begin, container.items[index + 1].begin});
        }
        return Removal::edited;
    }

private:
    template <typename StripItem>
    Removal strip(std::string_view value, char bracket, std::vector<Replacement>& edits, StripItem stripItem) {
        if (!value.starts_with(bracket))
            return Removal::untouched;
        const Container container = m_document.container(value);
        std::vector<bool> isGone;
        bool isEdited = false;
        for (const Item& item : container.items) {
            std::vector<Replacement> inner;
            const Removal removal = stripItem(item, inner);
            isGone.push_back(removal == Removal::vanished);
            if (removal != Removal::edited)
                continue;
            isEdited = true;
            edits.insert(edits.end(), inner.begin(), inner.end());
        }
        const Removal removal = remove(container, isGone, edits);
        return removal == Removal::untouched && isEdited ? Removal::edited : removal;
    }

    Removal stripEvent(std::string_view list, std::vector<Replacement>& edits) {
        return strip(list, '[', edits, [this](const Item& element, std::vector<Replacement>& inner) {
            return m_plan.layout == HookLayout::flat ? stripHook(element.value) : stripGroup(element.value, inner);
        });
    }

    Removal stripGroup(std::string_view group, std::vector<Replacement>& edits) {
        return strip(jsonMember(group, hooksName), '[', edits,
                     [this](const Item& element, std::vector<Replacement>&) { return stripHook(element.value); });
    }

    Removal stripHook(std::string_view hookValue) const {
        const std::string command = decodedJsonString(jsonMember(hookValue, "command"));
        return isOurCommand(command, m_plan.hooksDirectory) ? Removal::vanished : Removal::untouched;
    }

    const Document& m_document;
    const HookPlan& m_plan;
};

bool isCompanion(const Item& item, const HookPlan& plan) {
    return std::any_of(plan.companions.begin(), plan.companions.end(), [&](const auto& member) {
        return jsonStringEquals(item.name, member.first) && item.value == member.second;
    });
}

SettingsImage stripped(const Document& document, const HookPlan& plan, Original original) {
    Stripper stripper(document, plan);
    const Container root = document.container(document.root());
    std::vector<Replacement> edits;
    std::vector<bool> isGone;
    Removal hooksRemoval = Removal::untouched;
    for (const Item& item : root.items) {
        const bool isHooks = jsonStringEquals(item.name, hooksName);
        if (isHooks)
            hooksRemoval = stripper.stripHooks(item.value, edits);
        isGone.push_back(isHooks && hooksRemoval == Removal::vanished);
    }
    if (hooksRemoval == Removal::untouched)
        return {std::string(document.text())};
    if (hooksRemoval == Removal::edited)
        return {replaced(document.text(), edits)};

    // A file that we make begins with the hooks.
    const bool isAllOurs = isGone.front() && std::all_of(root.items.begin() + 1, root.items.end(),
                                                         [&](const Item& item) { return isCompanion(item, plan); });
    const bool wasObject = emptyBefore(document.span(root.begin, root.items.front().begin)).has_value();
    if (isAllOurs && !wasObject) {
        if (auto before = fileBefore(document))
            return std::move(*before);
        if (original == Original::unknown)
            return {};
    }
    if (stripper.remove(root, isGone, edits) == Removal::vanished)
        edits = {{root.begin, root.end}};
    return {replaced(document.text(), edits)};
}

// Putting in.

JsonNode hookNode(const HookEntry& entry, HookLayout layout) {
    std::vector<std::pair<std::string, JsonNode>> members;
    if (layout == HookLayout::grouped)
        members.emplace_back("type", JsonNode::text("command"));
    members.emplace_back("command", JsonNode::text(entry.command));
    for (const auto& [name, value] : entry.options)
        members.emplace_back(name, JsonNode::raw(value));
    return JsonNode::object(std::move(members));
}

/// What stands in an event's list.
JsonNode elementNode(const HookEntry& entry, HookLayout layout) {
    JsonNode node = hookNode(entry, layout);
    if (layout == HookLayout::flat)
        return node;
    std::vector<std::pair<std::string, JsonNode>> members;
    if (!entry.matcher.empty())
        members.emplace_back("matcher", JsonNode::text(entry.matcher));
    members.emplace_back(hooksName, JsonNode::array({std::move(node)}));
    return JsonNode::object(std::move(members));
}

using NamedNode = std::pair<std::string, JsonNode>;

NamedNode eventMember(const HookEntry& entry, HookLayout layout) {
    return {entry.event, JsonNode::array({elementNode(entry, layout)})};
}

JsonNode hooksNode(const HookPlan& plan) {
    std::vector<NamedNode> events;
    for (const HookEntry& entry : plan.entries)
        events.push_back(eventMember(entry, plan.layout));
    return JsonNode::object(std::move(events));
}

JsonNode wholeObject(const HookPlan& plan) {
    std::vector<NamedNode> members = {{std::string(hooksName), hooksNode(plan)}};
    for (const auto& [name, value] : plan.companions)
        members.emplace_back(name, JsonNode::raw(value));
    return JsonNode::object(std::move(members));
}

class Inserter {
public:
    explicit Inserter(const Document& document) : m_document(document), m_style(document.style()) {}

    /// Appends the nodes to an object, or, without their names, to an array.
    void append(std::string_view value, const std::vector<NamedNode>& nodes) {
        if (nodes.empty())
            return;
        const Container container = m_document.container(value);
        if (container.items.empty())
            fill(container, nodes);
        else
            appendBehind(container, nodes);
    }

    std::string result() { return replaced(m_document.text(), std::move(m_edits)); }

private:
    void fill(const Container& container, const std::vector<NamedNode>& nodes) {
        const std::string outer = m_document.indentationAt(container.begin);
        const std::string inner = outer + m_style.unit;
        std::string added(m_style.newline);
        std::string_view separator;
        for (const NamedNode& node : nodes) {
            added += separator;
            added += m_style.newline;
            added += inner;
            appendNamed(added, node, inner);
            separator = ",";
        }
        added += m_style.newline;
        added += outer;
        m_edits.push_back({container.end, container.end, std::move(added)});
    }

    void appendBehind(const Container& container, const std::vector<NamedNode>& nodes) {
        const Item& last = container.items.back();
        const std::string_view gap = m_document.span(container.gapBefore(container.items.size() - 1), last.begin);
        const bool isOnLines = gap.find('\n') != std::string_view::npos;
        const std::string indentation(isOnLines ? Document::indentationIn(gap) : std::string_view());
        std::string added;
        for (const NamedNode& node : nodes) {
            if (isOnLines) {
                added += ',';
                added += m_style.newline;
                added += indentation;
                appendNamed(added, node, indentation);
            } else {
                added += m_style.comma;
                appendName(added, node);
                node.second.appendLine(added, m_style);
            }
        }
        m_edits.push_back({last.end, last.end, std::move(added)});
    }

    void appendName(std::string& out, const NamedNode& node) const {
        if (node.first.empty())
            return;
        appendJsonString(out, node.first);
        out += m_style.colon;
    }

    void appendNamed(std::string& out, const NamedNode& node, const std::string& indentation) const {
        appendName(out, node);
        node.second.appendLines(out, m_style, indentation);
    }

    const Document& m_document;
    TextStyle m_style;
    std::vector<Replacement> m_edits;
};

/// A whole file, in place of one that is missing or holds nothing but white space.
std::string newFile(const SettingsImage& image, const HookPlan& plan) {
    TextStyle style;
    std::string out = image.text.value_or(std::string());
    const std::size_t lineEnd = out.find('\n');
    if (lineEnd != std::string::npos && lineEnd > 0 && out[lineEnd - 1] == '\r')
        style.newline = "\r\n";
    if (image.text)
        out += style.newline;
    wholeObject(plan).appendLines(out, style, {});
    appendMadeFileMark(out, style.newline, image.text ? 0 : image.missingFolders);
    return out;
}

/// `image` holds no hook of ours.
tl::expected<SettingsImage, Refusal> inserted(const SettingsImage& image, const HookPlan& plan) {
    if (!image.text || holdsNothing(*image.text))
        return SettingsImage{newFile(image, plan)};
    const Document document(*image.text);
    Inserter inserter(document);
    const std::string_view hooks = valueIn(document.container(document.root()), hooksName);
    if (hooks.empty()) {
        inserter.append(document.root(), {{std::string(hooksName), hooksNode(plan)}});
        return SettingsImage{inserter.result()};
    }
    if (!hooks.starts_with('{'))
        return tl::unexpected(Refusal("its \"hooks\" are no object"));
    const Container events = document.container(hooks);
    std::vector<NamedNode> missingEvents;
    for (const HookEntry& entry : plan.entries) {
        const std::string_view list = valueIn(events, entry.event);
        if (list.empty())
            missingEvents.push_back(eventMember(entry, plan.layout));
        else if (list.starts_with('['))
            inserter.append(list, {{std::string(), elementNode(entry, plan.layout)}});
        else
            return tl::unexpected("its hooks of \"" + entry.event + "\" are no list");
    }
    inserter.append(hooks, missingEvents);
    return SettingsImage{inserter.result()};
}

// Finding.

/// Whether the value is an object of exactly these members. The command may be escaped in any way.
bool isEntry(std::string_view value, const HookEntry& entry, HookLayout layout) {
    std::size_t count = 0;
    JsonMemberReader members(value);
    while (members.next())
        ++count;
    const bool isGrouped = layout == HookLayout::grouped;
    if (count != entry.options.size() + (isGrouped ? 2 : 1))
        return false;
    if (isGrouped && !jsonStringEquals(jsonMember(value, "type"), "command"))
        return false;
    if (!jsonStringEquals(jsonMember(value, "command"), entry.command))
        return false;
    return std::all_of(entry.options.begin(), entry.options.end(),
                       [&](const auto& option) { return jsonMember(value, option.first) == option.second; });
}

class Inspector {
public:
    Inspector(const Document& document, const HookPlan& plan) : m_plan(plan), m_isFound(plan.entries.size()) {
        const std::string_view hooks = jsonMember(document.root(), hooksName);
        JsonMemberReader events(hooks);
        while (const auto event = events.next())
            inspectEvent(*event);
    }

    HookState state() const {
        if (m_ours == 0)
            return HookState::absent;
        const bool isWhole = std::all_of(m_isFound.begin(), m_isFound.end(), [](bool isFound) { return isFound; });
        return isWhole && m_ours == m_isFound.size() ? HookState::current : HookState::damaged;
    }

    bool hasHookAt(std::string_view event) const {
        return std::find(m_events.begin(), m_events.end(), event) != m_events.end();
    }

private:
    void inspectEvent(const JsonMember& event) {
        JsonElementReader elements(event.value);
        while (const auto element = elements.next()) {
            if (m_plan.layout == HookLayout::flat) {
                inspectHook(event.name, *element);
                continue;
            }
            JsonElementReader hooks(jsonMember(*element, hooksName));
            while (const auto hookValue = hooks.next())
                inspectHook(event.name, *hookValue);
        }
    }

    void inspectHook(std::string_view eventName, std::string_view value) {
        const std::string command = decodedJsonString(jsonMember(value, "command"));
        if (!isOurCommand(command, m_plan.hooksDirectory))
            return;
        ++m_ours;
        m_events.push_back(decodedJsonString(eventName));
        for (std::size_t index = 0; index < m_plan.entries.size(); ++index) {
            const HookEntry& entry = m_plan.entries[index];
            if (jsonStringEquals(eventName, entry.event) && isEntry(value, entry, m_plan.layout))
                m_isFound[index] = true;
        }
    }

    const HookPlan& m_plan;
    std::size_t m_ours = 0;
    std::vector<std::string> m_events;
    std::vector<bool> m_isFound;
};

} // namespace

tl::expected<HookState, Refusal> hookState(const SettingsImage& image, const HookPlan& plan) {
    if (!image.text || holdsNothing(*image.text))
        return HookState::absent;
    if (auto fault = faultOf(*image.text))
        return tl::unexpected(std::move(*fault));
    return Inspector(Document(*image.text), plan).state();
}

bool hasHookAt(const SettingsImage& image, const HookPlan& plan, std::string_view event) {
    return image.text && !faultOf(*image.text) && Inspector(Document(*image.text), plan).hasHookAt(event);
}

tl::expected<SettingsImage, Refusal> withHooks(const SettingsImage& image, const HookPlan& plan, Original original) {
    const auto state = hookState(image, plan);
    if (!state)
        return tl::unexpected(state.error());
    switch (*state) {
    case HookState::current:
        return image;
    case HookState::absent:
        return inserted(image, plan);
    case HookState::damaged:
        break;
    }
    return inserted(stripped(Document(*image.text), plan, original), plan);
}

tl::expected<SettingsImage, Refusal> withoutHooks(const SettingsImage& image, const HookPlan& plan, Original original) {
    const auto state = hookState(image, plan);
    if (!state)
        return tl::unexpected(state.error());
    if (*state == HookState::absent)
        return image;
    return stripped(Document(*image.text), plan, original);
}

std::string linesToAdd(const HookPlan& plan) {
    std::string out;
    wholeObject(plan).appendLines(out, TextStyle(), {});
    return out;
}

} // namespace pelorin::setup
