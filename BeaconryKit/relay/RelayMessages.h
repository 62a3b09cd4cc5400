#pragma once

#include "BeaconryKit/model/SharedAsks.h"

#include <QByteArrayView>
#include <QJsonArray>
#include <QList>
#include <QString>

#include <optional>
#include <variant>

// What goes over the wire between this computer and the relay, as text. Pure functions: what comes from the relay is
// somebody else's, so all of it is read here, and nothing that is read here can do more than be ignored.

namespace pelorin {

/// One phone, as the relay lists it. Every text may be empty; the label is "phone" where the relay names none.
struct RelayDevice {
    /// Names the phone at the relay.
    QString id;
    /// What the phone calls itself.
    QString label = QStringLiteral("phone");
    /// Where it was last seen.
    QString country;
    /// The user agent of its browser.
    QString ua;

    bool operator==(const RelayDevice&) const = default;
};

/// A phone has decided a permission request.
struct RelayDecision {
    QString requestId;
    /// The relay's word for it; "allow" allows, any other refuses.
    QString decision;

    bool operator==(const RelayDecision&) const = default;
};

/// Keystrokes for the phone terminal's shell.
struct RelayTerminalInput {
    QString text;

    bool operator==(const RelayTerminalInput&) const = default;
};

/// The phone terminal's size, each 0 to 65535.
struct RelayTerminalSize {
    int columns = 80;
    int rows = 24;

    bool operator==(const RelayTerminalSize&) const = default;
};

/// The phone asks for a fresh shell.
struct RelayNewShell {
    bool operator==(const RelayNewShell&) const = default;
};

/// One message from the relay's socket; the empty alternative stands for all that is to be ignored.
using RelayMessage =
    std::variant<std::monostate, QList<RelayDecision>, RelayTerminalInput, RelayTerminalSize, RelayNewShell>;

/// Reads a text frame. A size that is missing, no whole number or beyond what a terminal can have (0 to 65535) counts
/// as 80 columns or 24 rows.
RelayMessage relayMessage(QByteArrayView text);

/// The decisions in the reply to a poll, in the relay's order; elements without both texts are left out. Empty for
/// anything but an object with an array under "decisions".
QList<RelayDecision> relayDecisions(QByteArrayView pollBody);

/// The phones in the reply to a list request; elements that are no objects are left out. Nothing for anything but an
/// object with an array under "devices".
std::optional<QList<RelayDevice>> relayDevices(QByteArrayView listBody);

/// The token in the reply to a provisioning request, without blanks at its ends. Nothing when there is none or only
/// blanks.
std::optional<QString> relayToken(QByteArrayView provisionBody);

/// What a push says of the open asks, one object a row, in their order.
QJsonArray relayAsks(const SharedAsks& asks);

/// Whether phones may drive a shell on this computer.
enum class PhoneTerminal { disabled, enabled };

/// The text of a hello, to the byte.
QString relayHello(PhoneTerminal terminal);

/// The text that carries output of the phone terminal's shell.
QString relayTerminalOutput(const QString& text);

} // namespace pelorin
