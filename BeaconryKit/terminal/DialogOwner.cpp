#include "BeaconryKit/terminal/DialogOwner.h"

#include "BeaconryKit/model/PathText.h"
#include "BeaconryKit/service/EventRouter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>

namespace pelorin {

namespace {

/// What may stand before a command or an address, on its line.
constexpr QStringView leads[] = {u"", u"$ ", u"url: ", u"query: "};

bool startsWithLead(const QString& line, QStringView lead) {
    return line.startsWith(lead) && line.size() > lead.size();
}

/// Whether the dialog's lines from that one on, after the lead, are the words and no more. Words that were cut, which
/// an ellipsis tells, are the start of the lines.
bool quotesFrom(const QStringList& lines, qsizetype first, QStringView lead, const QString& words) {
    const bool isCut = words.endsWith(u'…');
    const QString wanted = TerminalDialog::squeezed(isCut ? words.chopped(1) : words);
    QString seen;
    for (qsizetype at = first; at < lines.size() && wanted.startsWith(seen); ++at) {
        seen += TerminalDialog::squeezed(at == first ? lines[at].sliced(lead.size()) : lines[at]);
        if (seen == wanted || (isCut && seen.startsWith(wanted)))
            return !wanted.isEmpty();
    }
    return false;
}

/// Whether whole lines of the dialog are the words, wherever they were wrapped.
bool quotes(const TerminalDialog& dialog, const QString& words) {
    for (qsizetype first = 0; first < dialog.head.size(); ++first) {
        for (const QStringView lead : leads) {
            if (startsWithLead(dialog.head[first], lead) && quotesFrom(dialog.head, first, lead, words))
                return true;
        }
    }
    return false;
}

/// Whether the name stands in the dialog, not as a part of a longer one.
bool names(const TerminalDialog& dialog, const QString& name) {
    if (name.isEmpty())
        return false;
    const QRegularExpression pattern(
        QStringLiteral("(?<![\\w.-])%1(?![\\w-])(?!\\.\\w)").arg(QRegularExpression::escape(name)),
        QRegularExpression::UseUnicodePropertiesOption);
    return std::ranges::any_of(dialog.head, [&](const QString& line) { return line.contains(pattern); });
}

/// CLIs show a file by its path, or by where it is from the session's folder: its name is in both.
bool namesFile(const TerminalDialog& dialog, const QString& path) {
    return names(dialog, lastPathComponent(path));
}

/// What the hooks' notices say of a tool's use, between the CLI's name and what it is used on, and how a dialog shows
/// that.
struct Wish {
    QStringView infix;
    bool (*isShown)(const TerminalDialog& dialog, const QString& object);
};
constexpr Wish wishes[] = {
    {u" wants to run: ", quotes},       {u" wants to fetch: ", quotes},   {u" wants to search: ", quotes},
    {u" wants to change: ", namesFile}, {u" wants to read: ", namesFile}, {u" wants to use: ", names},
};

/// The texts of a tool's input, from its JSON text, which may be cut.
QStringList textsOf(const QString& json) {
    static const QRegularExpression member(QStringLiteral(R"re("(?:[^"\\]|\\.)*":("(?:[^"\\]|\\.)*"))re"));
    QStringList texts;
    for (auto matches = member.globalMatch(json); matches.hasNext();) {
        const QByteArray value = '[' + matches.next().captured(1).toUtf8() + ']';
        texts.append(QJsonDocument::fromJson(value).array().at(0).toString());
    }
    return texts;
}

bool showsInput(const TerminalDialog& dialog, const QString& json) {
    const QStringList texts = textsOf(json);
    return !texts.isEmpty() && std::ranges::all_of(texts, [&](const QString& text) {
        return quotes(dialog, text) || names(dialog, text) || (text.startsWith(u'/') && namesFile(dialog, text));
    });
}

bool isOfCall(const TerminalDialog& dialog, const AskEvent& ask) {
    static const QStringList shownByCommand{QStringLiteral("Bash"), QStringLiteral("WebFetch"),
                                            QStringLiteral("WebSearch")};
    static const QStringList shownByPath{QStringLiteral("Edit"), QStringLiteral("Write"), QStringLiteral("MultiEdit"),
                                         QStringLiteral("NotebookEdit")};
    if (shownByCommand.contains(ask.toolName))
        return quotes(dialog, ask.actionSummary);
    if (shownByPath.contains(ask.toolName))
        return namesFile(dialog, ask.actionSummary);
    if (ask.toolName == u"ExitPlanMode")
        return dialog.question.contains(u" a plan ");
    return showsInput(dialog, ask.actionSummary);
}

bool isOfNotice(const TerminalDialog& dialog, const QString& message) {
    // The notice of an expired request says what that asked for.
    if (message.startsWith(expiredMessageStart)) {
        const QString call = message.sliced(expiredMessageStart.size());
        AskEvent expired;
        expired.toolName = call.section(QStringLiteral(": "), 0, 0);
        expired.actionSummary = call.section(QStringLiteral(": "), 1);
        return isOfCall(dialog, expired);
    }
    for (const Wish& wish : wishes) {
        if (const qsizetype at = message.indexOf(wish.infix); at >= 0)
            return wish.isShown(dialog, message.sliced(at + wish.infix.size()));
    }
    // A question's own words end with its mark; several stand in a row.
    if (message.contains(u'?')) {
        const QStringList questions = message.split(QStringLiteral(" / "));
        return std::ranges::any_of(questions, [&](const QString& question) {
            const QString squeezed = TerminalDialog::squeezed(question);
            return !squeezed.isEmpty() && dialog.text.contains(squeezed);
        });
    }
    // It says no more than that the session wants something.
    return true;
}

} // namespace

bool isDialogOf(const TerminalDialog& dialog, const AskEvent& ask, const SharedAsks& rows) {
    const bool isAbout = ask.isPermission() ? isOfCall(dialog, ask) : isOfNotice(dialog, ask.message);
    return isAbout && std::ranges::none_of(rows, [&](const SharedAsk& other) {
               return other->isPermission() && other->id() != ask.id() && other->sessionId == ask.sessionId &&
                      isOfCall(dialog, *other);
           });
}

} // namespace pelorin
