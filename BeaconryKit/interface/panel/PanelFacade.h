#pragma once

#include "BeaconryKit/interface/panel/AskListModel.h"
#include "BeaconryKit/model/AskAction.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// All that the panel's QML sees and calls. It turns what the user does into an ask's identity and an action, and
/// reaches into no store. Main thread; the controller owns it.
class PanelFacade final : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(PanelFacade)
    QML_UNCREATABLE("The controller owns it")

    Q_PROPERTY(pelorin::AskListModel* asks READ asks CONSTANT FINAL)
    /// The identity of the row whose reply field has the keyboard; empty when none has.
    Q_PROPERTY(QString typingRow READ typingRow NOTIFY typingRowChanged FINAL)
    /// How much of the top a camera notch covers, in pixels.
    Q_PROPERTY(double topInset READ topInset NOTIFY boundsChanged FINAL)
    /// The greatest height that the content may want, in pixels.
    Q_PROPERTY(double maximumHeight READ maximumHeight NOTIFY boundsChanged FINAL)
    /// The radius of the bottom corners.
    Q_PROPERTY(double cornerRadius READ cornerRadius CONSTANT FINAL)

public:
    /// The model must outlive the facade.
    explicit PanelFacade(AskListModel& asks, QObject* parent = nullptr);

    AskListModel* asks() const { return &m_asks; }
    const QString& typingRow() const { return m_typingRow; }
    double topInset() const { return m_topInset; }
    double maximumHeight() const { return m_maximumHeight; }
    double cornerRadius() const;

    void setBounds(double topInset, double maximumHeight);
    void setTypingRow(const QString& id);

    Q_INVOKABLE void allow(const QString& askId);
    Q_INVOKABLE void deny(const QString& askId);
    Q_INVOKABLE void open(const QString& askId);
    Q_INVOKABLE void dismiss(const QString& askId);
    /// Unfolds the row, which is reported, or folds it, which is not.
    Q_INVOKABLE void setExpanded(const QString& askId, bool expanded);
    Q_INVOKABLE void pickOption(const QString& askId, int index);
    /// Reports the reply and gives the keyboard back. Nothing but white space is no reply.
    Q_INVOKABLE void sendText(const QString& askId, const QString& text);

    Q_INVOKABLE void setDraft(const QString& askId, const QString& draft);
    Q_INVOKABLE void takeKeys(const QString& askId);
    Q_INVOKABLE void giveKeysBack();

    /// Where the row stands, in pixels from any fixed point that the user's own scrolling moves along.
    Q_INVOKABLE void noteRowPlace(const QString& askId, double place);

signals:
    void typingRowChanged();
    void boundsChanged();
    void acted(const QString& askId, const pelorin::AskAction& action);
    void keysWanted(const QString& askId);
    void keysReturned();
    void rowPlaced(const QString& askId, double place);

private:
    AskListModel& m_asks;
    QString m_typingRow;
    double m_topInset = 0;
    double m_maximumHeight = 0;
};

} // namespace pelorin
