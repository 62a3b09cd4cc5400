#include "BeaconryKit/interface/asks/SourceStyle.h"

#include <utility>

namespace pelorin {

namespace {

QString capitalisedWords(const QString& text) {
    QString result = text.toLower();
    bool atWordStart = true;
    for (QChar& character : result) {
        if (atWordStart)
            character = character.toUpper();
        atWordStart = character.isSpace();
    }
    return result;
}

} // namespace

QString SourceStyle::label(const QString& source) {
    static const std::array<std::pair<QString, QString>, 5> labels{{
        {QStringLiteral("claude"), QStringLiteral("Claude")},
        {QStringLiteral("codex"), QStringLiteral("Codex")},
        {QStringLiteral("gemini"), QStringLiteral("Gemini")},
        {QStringLiteral("opencode"), QStringLiteral("opencode")},
        {QStringLiteral("cursor"), QStringLiteral("Cursor")},
    }};
    const QString name = source.toLower();
    for (const auto& [known, label] : labels) {
        if (name == known)
            return label;
    }
    return source.isEmpty() ? QStringLiteral("?") : capitalisedWords(source);
}

int SourceStyle::dotColorIndex(const QString& sessionId) {
    if (sessionId.isEmpty())
        return 5;
    quint64 hash = 0xcbf29ce484222325;
    for (const char byte : sessionId.toUtf8()) {
        hash ^= static_cast<quint8>(byte);
        hash *= 0x100000001b3;
    }
    return static_cast<int>(hash % paletteCount);
}

SourceStyle::Colour SourceStyle::dotColor(const QString& sessionId) {
    return palette[static_cast<std::size_t>(dotColorIndex(sessionId))];
}

} // namespace pelorin
