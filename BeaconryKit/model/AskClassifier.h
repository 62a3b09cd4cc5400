#pragma once

#include <QString>
#include <QStringView>

#include <span>

namespace pelorin {

/// Tells notifications that need a person from those that only inform. Stateless; any thread.
class AskClassifier {
public:
    AskClassifier() = delete;

    /// The notification types that always mean that the user must act, in lower case.
    static std::span<const QStringView> actionTypes();

    /// The phrases that make an ask of a notification without a type of its own, in lower case, in the order in which
    /// they are tried.
    static std::span<const QStringView> askPhrases();

    /// Whether a notification is an ask. Its type decides when it is one of the action types, or any other declared
    /// kind; only an empty type, "notification" and "notice" let the text decide. Case does not matter.
    static bool needsAction(const QString& notificationType, const QString& message);
};

} // namespace pelorin
