#pragma once

#include "BeaconryKit/model/Decision.h"

#include <QString>

#include <variant>

namespace pelorin {

/// What the user did on an ask's row.
struct AskAction {
    /// Picked the numbered option at this position, from 0.
    struct Option {
        qint64 index = 0;
        bool operator==(const Option&) const = default;
    };
    /// Typed an answer.
    struct Text {
        QString text;
        bool operator==(const Text&) const = default;
    };
    /// Jump to the session's terminal.
    struct Open {
        bool operator==(const Open&) const = default;
    };
    /// Take the row away.
    struct Dismiss {
        bool operator==(const Dismiss&) const = default;
    };
    struct Allow {
        bool operator==(const Allow&) const = default;
    };
    struct Deny {
        bool operator==(const Deny&) const = default;
    };
    /// Show what the terminal shows.
    struct Expand {
        bool operator==(const Expand&) const = default;
    };

    std::variant<Option, Text, Open, Dismiss, Allow, Deny, Expand> value;

    static AskAction option(qint64 index) { return {Option{index}}; }
    static AskAction text(const QString& text) { return {Text{text}}; }
    static AskAction open() { return {Open{}}; }
    static AskAction dismiss() { return {Dismiss{}}; }
    static AskAction allow() { return {Allow{}}; }
    static AskAction deny() { return {Deny{}}; }
    static AskAction expand() { return {Expand{}}; }

    bool operator==(const AskAction&) const = default;
};

/// The answer that is to be delivered to a session.
struct AskChoice {
    struct Option {
        qint64 index = 0;
        bool operator==(const Option&) const = default;
    };
    struct Text {
        QString text;
        bool operator==(const Text&) const = default;
    };

    std::variant<Decision, Option, Text> value;

    static AskChoice decision(Decision decision) { return {decision}; }
    static AskChoice option(qint64 index) { return {Option{index}}; }
    static AskChoice text(const QString& text) { return {Text{text}}; }

    bool operator==(const AskChoice&) const = default;
};

/// How the delivery of an answer went.
struct AnswerResult {
    enum class Outcome {
        /// It could not be delivered; `message` says why.
        failed,
        /// It went back as the reply that the hook was waiting for.
        resolvedViaHook,
        /// It was typed into the terminal.
        injected,
        /// It can only be given in the terminal itself.
        needsTerminal
    };

    Outcome outcome;
    /// For the user; empty unless the delivery failed.
    QString message;

    static AnswerResult failed(const QString& message) { return {Outcome::failed, message}; }
    static AnswerResult resolvedViaHook() { return {Outcome::resolvedViaHook, {}}; }
    static AnswerResult injected() { return {Outcome::injected, {}}; }
    static AnswerResult needsTerminal() { return {Outcome::needsTerminal, {}}; }

    bool operator==(const AnswerResult&) const = default;
};

} // namespace pelorin
