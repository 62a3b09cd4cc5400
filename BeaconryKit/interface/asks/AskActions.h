#pragma once

#include "BeaconryKit/interface/asks/AskListModel.h"
#include "BeaconryKit/model/AskAction.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// What QML calls when the user does something to a row of a list of asks. It turns that into the ask's identity and an
/// action, and reaches into no store. Main thread; the view's controller owns it.
class AskActions : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(AskActions)
    QML_UNCREATABLE("The controller owns it")

    Q_PROPERTY(pelorin::AskListModel* asks READ asks CONSTANT FINAL)

public:
    /// The model must outlive the object.
    explicit AskActions(AskListModel& asks, QObject* parent = nullptr);

    AskListModel* asks() const { return &m_asks; }

    Q_INVOKABLE void allow(const QString& askId);
    Q_INVOKABLE void deny(const QString& askId);
    Q_INVOKABLE void open(const QString& askId);
    Q_INVOKABLE void dismiss(const QString& askId);
    /// Unfolds the row, which is reported, or folds it, which is not.
    Q_INVOKABLE virtual void setExpanded(const QString& askId, bool expanded);
    Q_INVOKABLE void pickOption(const QString& askId, int index);
    /// Reports the reply. Nothing but white space is no reply.
    Q_INVOKABLE virtual void sendText(const QString& askId, const QString& text);

    Q_INVOKABLE void setDraft(const QString& askId, const QString& draft);

    /// Notes where the row stands, in pixels from any fixed point. The user's own scrolling changes no place.
    Q_INVOKABLE void noteRowPlace(const QString& askId, double place);

signals:
    void acted(const QString& askId, const pelorin::AskAction& action);
    void rowPlaced(const QString& askId, double place);

private:
    AskListModel& m_asks;
};

} // namespace pelorin
