#pragma once

#include "BeaconryKit/interface/asks/AskActions.h"

#include <QString>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// All that the panel's QML sees and calls. Main thread; the controller owns it.
class PanelFacade final : public pelorin::AskActions {
    Q_OBJECT
    QML_NAMED_ELEMENT(PanelFacade)
    QML_UNCREATABLE("The controller owns it")

    /// The identity of the row whose reply field has the keyboard; empty when none has.
    Q_PROPERTY(QString typingRow READ typingRow NOTIFY typingRowChanged FINAL)
    /// Whether every request is allowed without asking.
    Q_PROPERTY(bool allowsEverything READ allowsEverything NOTIFY headChanged FINAL)
    /// A line of the interface's own; empty when there is none.
    Q_PROPERTY(QString announcement READ announcement NOTIFY headChanged FINAL)
    /// What a screen reader says now; empty before the first ask.
    Q_PROPERTY(QString alert READ alert NOTIFY alertChanged FINAL)
    /// How much of the top a camera notch covers, in pixels.
    Q_PROPERTY(double topInset READ topInset NOTIFY boundsChanged FINAL)
    /// The greatest height that the content may want, in pixels.
    Q_PROPERTY(double maximumHeight READ maximumHeight NOTIFY boundsChanged FINAL)
    /// The radius of the bottom corners.
    Q_PROPERTY(double cornerRadius READ cornerRadius CONSTANT FINAL)

public:
    using AskActions::AskActions;

    const QString& typingRow() const { return m_typingRow; }
    bool allowsEverything() const { return m_allowsEverything; }
    const QString& announcement() const { return m_announcement; }
    const QString& alert() const { return m_alert; }
    double topInset() const { return m_topInset; }
    double maximumHeight() const { return m_maximumHeight; }
    double cornerRadius() const;

    void setBounds(double topInset, double maximumHeight);
    void setAllowsEverything(bool allowsEverything);
    void setAnnouncement(const QString& line);
    void setAlert(const QString& text);
    void setTypingRow(const QString& id);

    void setExpanded(const QString& askId, bool expanded) override;
    /// Gives the keyboard back too.
    void sendText(const QString& askId, const QString& text) override;

    Q_INVOKABLE void takeKeyboard(const QString& askId);
    Q_INVOKABLE void giveKeyboardBack();

signals:
    void typingRowChanged();
    void headChanged();
    void alertChanged();
    void boundsChanged();
    void keyboardWanted(const QString& askId);
    void keyboardReturned();

private:
    QString m_typingRow;
    bool m_allowsEverything = false;
    QString m_announcement;
    QString m_alert;
    double m_topInset = 0;
    double m_maximumHeight = 0;
};

} // namespace pelorin
