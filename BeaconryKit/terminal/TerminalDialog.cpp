#include "BeaconryKit/terminal/TerminalDialog.h"

#include <algorithm>
#include <array>
#include <utility>

namespace pelorin {

namespace {

using Lines = QList<QStringView>;

constexpr bool isFrame(QChar unit) {
    // Box drawing and block elements, of which frames and rules are made.
    return unit.unicode() >= 0x2500 && unit.unicode() <= 0x259f;
}

bool isBlank(QStringView line) {
    return line.trimmed().isEmpty();
}

qsizetype indentation(QStringView line) {
    return std::distance(line.begin(), std::ranges::find_if(line, [](QChar unit) { return !unit.isSpace(); }));
}

/// A line of nothing but that character, which starts at the left edge. What a dialog quotes is indented.
bool isRule(QStringView line, QChar unit) {
    return line.size() >= 10 && std::ranges::all_of(line, [&](QChar each) { return each == unit; });
}

QStringView withoutBlanksAtTheEnd(QStringView line) {
    while (!line.isEmpty() && line.back().isSpace())
        line.chop(1);
    return line;
}

QStringView withoutFrame(QStringView line) {
    const auto isOutside = [](QChar unit) {
        return unit.isSpace() || isFrame(unit);
    };
    while (!line.isEmpty() && isOutside(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isOutside(line.back()))
        line.chop(1);
    return line;
}

Lines linesOf(const QString& screen) {
    Lines lines;
    for (const QStringView line : QStringView(screen).split(u'\n'))
        lines.append(withoutBlanksAtTheEnd(line));
    while (!lines.isEmpty() && lines.back().isEmpty())
        lines.removeLast();
    return lines;
}

QString joined(const Lines& lines) {
    QStringList texts;
    for (const QStringView line : lines)
        texts.append(line.trimmed().toString());
    return texts.join(u' ');
}

/// A line that is an option: blanks or the mark of the highlight, a digit, ". " and a label.
struct OptionLine {
    qsizetype column = 0;
    QChar digit;
    bool isMarked = false;
    QStringView label;
};

std::optional<OptionLine> optionLine(QStringView line, QChar mark) {
    OptionLine option;
    qsizetype at = indentation(line);
    if (at < line.size() && line[at] == mark) {
        option.isMarked = true;
        ++at;
        at += indentation(line.sliced(at));
    }
    // A number of two digits can't be typed: the first would already pick.
    if (at + 2 >= line.size() || line[at] < u'1' || line[at] > u'9' || line[at + 1] != u'.' || line[at + 2] != u' ')
        return std::nullopt;
    option.column = at;
    option.digit = line[at];
    option.label = line.sliced(at + 3).trimmed();
    return option;
}

/// The menu at the end of the lines: where each option starts, and where what follows the last one does.
struct Menu {
    struct Item {
        OptionLine option;
        qsizetype line = 0;
        /// The lines that go on with the option.
        Lines further;
    };
    QList<Item> items;
    qsizetype end = 0;

    qsizetype start() const { return items.front().line; }
    qsizetype marked() const {
        return std::ranges::count_if(items, [](const Item& item) { return item.option.isMarked; });
    }
};

/// How a CLI draws its dialogs.
struct Drawing {
    /// Marks the highlighted option; none where only a colour does.
    QChar mark;
    /// Whether a rule may stand between two options.
    bool hasInnerRule = false;
    /// How what stands below the menu starts.
    QList<QStringView> footers;
    /// Whether there may be nothing below it.
    bool mayLackFooter = false;
};

/// The options that are numbered from 1 and stand one below the other.
std::optional<Menu> lastMenu(const Lines& lines, const Drawing& drawing) {
    Menu menu;
    Lines further;
    qsizetype at = lines.size() - 1;
    for (; at >= 0; --at) {
        const QStringView line = lines[at];
        const auto option = optionLine(line, drawing.mark);
        const bool isNext = option && (menu.items.isEmpty() ||
                                       (option->column == menu.items.front().option.column &&
                                        option->digit.unicode() + 1 == menu.items.front().option.digit.unicode()));
        if (isNext) {
            menu.items.prepend({*option, at, std::exchange(further, {})});
            if (option->digit == u'1')
                break;
        } else if (!menu.items.isEmpty()) {
            const bool isRuleBetween = drawing.hasInnerRule && isRule(line, u'─');
            if (isBlank(line) || (!isRuleBetween && indentation(line) <= menu.items.front().option.column))
                return std::nullopt;
            if (!isRuleBetween)
                further.prepend(line);
        }
    }
    if (at < 0)
        return std::nullopt;
    Menu::Item& last = menu.items.back();
    menu.end = last.line + 1;
    while (menu.end < lines.size() && !isBlank(lines[menu.end]) && indentation(lines[menu.end]) > last.option.column)
        last.further.append(lines[menu.end++]);
    return menu;
}

/// Whether nothing stands below the menu but what belongs to the dialog: so it is the dialog that has the keys.
bool isAtTheBottom(const Lines& lines, const Menu& menu, const Drawing& drawing) {
    Lines rest;
    for (qsizetype at = menu.end; at < lines.size(); ++at) {
        if (!isBlank(lines[at]))
            rest.append(lines[at]);
        else if (!rest.isEmpty() &&
                 std::any_of(lines.begin() + at, lines.end(), [](auto line) { return !isBlank(line); }))
            return false;
    }
    if (rest.isEmpty())
        return drawing.mayLackFooter;
    const QString footer = joined(rest);
    return rest.size() <= 3 &&
           std::ranges::any_of(drawing.footers, [&](QStringView start) { return footer.startsWith(start); });
}

bool isTick(QStringView label) {
    return label.size() >= 3 && label[0] == u'[' && label[2] == u']';
}

/// The paragraph that ends right above the menu.
QString questionAbove(const Lines& lines, qsizetype menuStart) {
    qsizetype end = menuStart;
    while (end > 0 && isBlank(lines[end - 1]))
        --end;
    qsizetype start = end;
    while (start > 0 && !isBlank(lines[start - 1]) && !isFrame(lines[start - 1].trimmed().front()))
        --start;
    return joined(lines.sliced(start, end - start));
}

/// The option's label and what it says below it, squeezed.
QString fullText(const Menu::Item& item) {
    return TerminalDialog::squeezed(item.option.label.toString() + joined(item.further));
}

/// The dialog whose head starts at that line.
TerminalDialog dialogOf(const Lines& lines, qsizetype start, const Menu& menu) {
    TerminalDialog dialog;
    dialog.question = questionAbove(lines, menu.start());
    for (const QStringView line : lines.sliced(start, menu.start() - start)) {
        if (const QStringView content = withoutFrame(line); !content.isEmpty())
            dialog.head.append(content.toString());
    }
    dialog.text = TerminalDialog::squeezed(dialog.head.join(u' '));
    for (const Menu::Item& item : menu.items) {
        if (item.option.isMarked)
            dialog.highlighted = dialog.options.size();
        dialog.options.append({QString(item.option.digit), item.option.label.toString()});
        if (isTick(item.option.label))
            dialog.keys = TerminalDialog::Keys::tick;
    }
    return dialog;
}

/// Puts the options' further lines into the dialog's text; the field's own are its words, which are not.
void addOptionTexts(TerminalDialog& dialog, const Menu& menu) {
    for (qsizetype at = 0; at < menu.items.size(); ++at) {
        if (at != dialog.fieldOption)
            dialog.text += u'\n' + fullText(menu.items[at]);
    }
}

/// Makes the option at the position a field: open or not, with those words (squeezed) in it or, when it is empty, with
/// the placeholder.
void setField(TerminalDialog& dialog, qsizetype position, QStringView placeholder, bool isOpen, const QString& words) {
    dialog.fieldOption = position;
    dialog.options[position].label = placeholder.toString();
    if (words != TerminalDialog::squeezed(placeholder)) {
        dialog.field = TerminalDialog::Field::filled;
        dialog.fieldText = words;
    } else {
        dialog.field = isOpen ? TerminalDialog::Field::open : TerminalDialog::Field::closed;
    }
}

// Claude Code

/// A question's field stands above the rule before "Chat about this", a plan's is the last option. Both show the words
/// in the place of their label.
void findFieldOfClaude(TerminalDialog& dialog, const Lines& lines, const Menu& menu) {
    const auto isInnerRule = [](QStringView line) {
        return isRule(line, u'─');
    };
    for (qsizetype at = 0; at + 1 < menu.items.size(); ++at) {
        const Menu::Item& item = menu.items[at];
        if (!std::any_of(lines.begin() + item.line, lines.begin() + menu.items[at + 1].line, isInnerRule))
            continue;
        setField(dialog, at, u"Type something.", item.option.isMarked, fullText(item));
        return;
    }
    const Menu::Item& last = menu.items.back();
    static constexpr QStringView planHint = u"shift+tabtoapprovewiththisfeedback";
    QString words = fullText(last);
    if (words.endsWith(planHint)) {
        words.chop(planHint.size());
        setField(dialog, menu.items.size() - 1, u"Tell Claude what to change", last.option.isMarked, words);
    }
}

/// The title without the count at its right edge ("2 of 3"), which changes while the dialog stands: others come and go.
QStringView withoutCount(QStringView title) {
    const qsizetype gap = title.lastIndexOf(u"  ");
    const auto isNumber = [](QStringView text) {
        return !text.isEmpty() && std::ranges::all_of(text, [](QChar unit) { return unit.isDigit(); });
    };
    const QList<QStringView> count = gap < 0 ? QList<QStringView>() : title.sliced(gap + 2).split(u" of ");
    return count.size() == 2 && isNumber(count[0]) && isNumber(count[1]) ? title.first(gap) : title;
}

std::optional<TerminalDialog> dialogOfClaude(const Lines& screen) {
    Lines lines = screen;
    static const Drawing drawing{
        .mark = QChar(0x276f),
        .hasInnerRule = true,
        .footers = {u"Esc to cancel · Tab to amend", u"Enter to select · ", u"ctrl+g to edit in "},
        .mayLackFooter = true};
    const auto menu = lastMenu(lines, drawing);
    if (!menu || menu->marked() != 1 || !isAtTheBottom(lines, *menu, drawing))
        return std::nullopt;
    // A dialog over the whole screen has an edge of its own, and rules within it.
    qsizetype start = menu->start() - 1;
    while (start >= 0 && !isRule(lines[start], u'▔'))
        --start;
    if (start < 0) {
        start = menu->start() - 1;
        while (start >= 0 && !isRule(lines[start], u'─'))
            --start;
    }
    if (start < 0)
        return std::nullopt;
    lines[start + 1] = withoutCount(lines[start + 1]);
    TerminalDialog dialog = dialogOf(lines, start, *menu);
    if (dialog.keys == TerminalDialog::Keys::pick)
        findFieldOfClaude(dialog, lines, *menu);
    addOptionTexts(dialog, *menu);
    return dialog;
}

// Codex

std::optional<TerminalDialog> dialogOfCodex(const Lines& lines) {
    static const Drawing drawing{.mark = QChar(0x203a), .footers = {u"Press enter to confirm or esc to cancel"}};
    const auto menu = lastMenu(lines, drawing);
    if (!menu || menu->marked() != 1 || !isAtTheBottom(lines, *menu, drawing))
        return std::nullopt;
    // There is no frame: all that is indented above the menu may belong to it. The first question is the dialog's own,
    // since what it quotes comes after it.
    std::optional<qsizetype> start;
    for (qsizetype at = menu->start() - 1; at >= 0 && (isBlank(lines[at]) || indentation(lines[at]) >= 2); --at) {
        if (lines[at].startsWith(u"  Would you like to "))
            start = at;
    }
    if (!start)
        return std::nullopt;
    TerminalDialog dialog = dialogOf(lines, *start, *menu);
    dialog.question = lines[*start].trimmed().toString();
    addOptionTexts(dialog, *menu);
    return dialog;
}

// Gemini

std::optional<TerminalDialog> dialogOfGemini(const Lines& lines) {
    static const Drawing drawing{
        .mark = QChar(0x25cf), .footers = {u"Enter to select · ", u"Enter to submit · "}, .mayLackFooter = true};
    if (lines.isEmpty() || !lines.back().startsWith(u'╰') || !lines.back().endsWith(u'╯'))
        return std::nullopt;
    Lines inside;
    qsizetype at = lines.size() - 2;
    for (; at >= 0 && lines[at].startsWith(u"│ ") && lines[at].endsWith(u'│'); --at)
        inside.prepend(withoutBlanksAtTheEnd(lines[at].sliced(1).chopped(1)));
    if (at < 0 || !lines[at].startsWith(u'╭'))
        return std::nullopt;
    const auto menu = lastMenu(inside, drawing);
    if (!menu || menu->marked() != 1 || !isAtTheBottom(inside, *menu, drawing))
        return std::nullopt;
    TerminalDialog dialog = dialogOf(inside, 0, *menu);
    // Only a question has a footer, and a question takes the user's own words as its last option.
    const QString footer = joined(inside.sliced(menu->end)).trimmed();
    if (!footer.isEmpty() && dialog.keys == TerminalDialog::Keys::pick) {
        const Menu::Item& last = menu->items.back();
        setField(dialog, menu->items.size() - 1, u"Enter a custom value",
                 last.option.isMarked && footer.startsWith(u"Enter to submit"), fullText(last));
    }
    addOptionTexts(dialog, *menu);
    return dialog;
}

// opencode

std::optional<TerminalDialog> dialogOfOpencode(const Lines& lines) {
    static const Drawing drawing{.mark = {}, .footers = {u"↑↓ select  enter submit  esc dismiss"}};
    static constexpr QStringView ownAnswer = u"Type your own answer";
    Lines inside;
    for (qsizetype at = lines.size() - 1; at >= 0 && lines[at].startsWith(u"  ┃"); --at)
        inside.prepend(lines[at].sliced(3));
    const auto menu = lastMenu(inside, drawing);
    if (!menu || !isAtTheBottom(inside, *menu, drawing))
        return std::nullopt;
    TerminalDialog dialog = dialogOf(inside, 0, *menu);
    // The highlight is a colour. The field, once open, is the line below its label.
    const Menu::Item& last = menu->items.back();
    if (last.option.label == ownAnswer) {
        const QString below = TerminalDialog::squeezed(joined(last.further));
        setField(dialog, menu->items.size() - 1, ownAnswer, !below.isEmpty(),
                 below.isEmpty() ? TerminalDialog::squeezed(ownAnswer) : below);
    }
    addOptionTexts(dialog, *menu);
    return dialog;
}

constexpr std::array<std::pair<QStringView, std::optional<TerminalDialog> (*)(const Lines&)>, 4> drawings{{
    {u"claude", dialogOfClaude},
    {u"codex", dialogOfCodex},
    {u"gemini", dialogOfGemini},
    {u"opencode", dialogOfOpencode},
}};

} // namespace

std::optional<TerminalDialog> TerminalDialog::find(QStringView source, const QString& screen) {
    for (const auto& [name, read] : drawings) {
        if (source == name)
            return read(linesOf(screen));
    }
    return std::nullopt;
}

QString TerminalDialog::squeezed(QStringView text) {
    QString result;
    std::ranges::copy_if(text, std::back_inserter(result),
                         [](QChar unit) { return !unit.isSpace() && !isFrame(unit); });
    return result;
}

} // namespace pelorin
