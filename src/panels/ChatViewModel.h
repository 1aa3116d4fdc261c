#pragma once

#include "base/Scheduler.h"
#include "panels/ChatMessageModel.h"
#include "panels/DictationService.h"
#include "panels/PanelServices.h"
#include "panels/SessionCallbacks.h"
#include "sessions/VantrySession.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <vector>

namespace vantry {

struct ChatFacts;
struct ChatRequest;
class ChatTranscript;

/// One session's conversation, and what can be done to the session. The transcript is the truth: it is read off the
/// main thread as the view comes up, every 3 seconds while it is visible, and soon after an event; what is sent from
/// here shows at once as pending. Shares the session; everything else given must outlive this. Main thread only.
class ChatViewModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the panel")

    // Header.
    Q_PROPERTY(QString title READ title NOTIFY headerChanged)
    Q_PROPERTY(bool isAlive READ isAlive NOTIFY headerChanged)
    /// Percent of the context window that are used; -1 while it isn't known or the session has finished.
    Q_PROPERTY(int contextUsed READ contextUsed NOTIFY headerChanged)
    Q_PROPERTY(QString contextText READ contextText NOTIFY headerChanged)
    Q_PROPERTY(vantry::ChatViewModel::ContextLevel contextLevel READ contextLevel NOTIFY headerChanged)
    /// Whether the stop control asks for its confirmation.
    Q_PROPERTY(bool showKillConfirm READ showKillConfirm WRITE setShowKillConfirm NOTIFY showKillConfirmChanged)

    // Session info.
    Q_PROPERTY(bool showSessionInfo READ showSessionInfo WRITE setShowSessionInfo NOTIFY showSessionInfoChanged)
    Q_PROPERTY(QString statusSymbol READ statusSymbol NOTIFY statusChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY statusChanged)
    Q_PROPERTY(vantry::ChatViewModel::StatusTone statusTone READ statusTone NOTIFY statusChanged)
    /// SessionInfoRow values (label, value, isCode); rows without a value are left out.
    Q_PROPERTY(QVariantList infoRows READ infoRows NOTIFY infoRowsChanged)

    // Messages.
    Q_PROPERTY(vantry::ChatMessageModel *messages READ messages CONSTANT)
    /// Whether it is known that there is no message: false while the first read is under way.
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY isEmptyChanged)
    /// What stands below the last message while the agent works; empty: nothing.
    Q_PROPERTY(QString typingText READ typingText NOTIFY typingTextChanged)

    // Action block.
    Q_PROPERTY(vantry::ChatViewModel::ActionKind actionKind READ actionKind NOTIFY actionChanged)
    Q_PROPERTY(QString toolName READ toolName NOTIFY actionChanged)
    Q_PROPERTY(QString toolInput READ toolInput NOTIFY actionChanged)
    Q_PROPERTY(bool hasAlwaysAllow READ hasAlwaysAllow NOTIFY actionChanged)
    /// Allow or Always Allow was pressed for what is asked now.
    Q_PROPERTY(bool allowPressed READ allowPressed NOTIFY allowPressedChanged)
    /// ChatQuestion values (question, header, multiSelect, options of label and description); empty: what is asked is
    /// not known.
    Q_PROPERTY(QVariantList questions READ questions NOTIFY questionsChanged)
    /// Whether an option would be taken from here. Where it would not, answer() brings the terminal forward.
    Q_PROPERTY(bool canAnswer READ canAnswer NOTIFY answerChanged)
    /// Why not, as a sentence for the user; empty when one would, or when one has just been taken.
    Q_PROPERTY(QString answerRefusal READ answerRefusal NOTIFY answerChanged)

    // Input bar.
    Q_PROPERTY(bool showsInputBar READ showsInputBar NOTIFY inputChanged)
    Q_PROPERTY(bool inputEnabled READ inputEnabled NOTIFY inputChanged)
    /// What the field will do with a text, or why it is disabled.
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY inputChanged)
    Q_PROPERTY(QString typedText READ typedText WRITE setTypedText NOTIFY typedTextChanged)
    Q_PROPERTY(bool canSend READ canSend NOTIFY canSendChanged)
    /// While it is dictated, the field holds the transcript and isn't to be typed into.
    Q_PROPERTY(bool isDictating READ isDictating NOTIFY isDictatingChanged)
    /// Null where there is no dictation.
    Q_PROPERTY(vantry::DictationService *dictation READ dictation CONSTANT)

    // Footer.
    Q_PROPERTY(QString footerText READ footerText NOTIFY footerChanged)
    Q_PROPERTY(QString footerSymbol READ footerSymbol NOTIFY footerChanged)

public:
    enum ContextLevel { Green, Yellow, Red };
    Q_ENUM(ContextLevel)
    enum StatusTone { AttentionTone, ReadyTone, NeutralTone };
    Q_ENUM(StatusTone)
    enum ActionKind { NoAction, PermissionAction, QuestionAction };
    Q_ENUM(ActionKind)

    ChatViewModel(PanelServices services, SessionCallbacks callbacks, SessionPtr session, QObject *parent = nullptr);
    ~ChatViewModel() override;

    [[nodiscard]] const SessionPtr &session() const { return m_session; }
    /// Shows another session in the first one's stead, for a placeholder whose agent has reported. What has been typed
    /// stays.
    void replaceSession(SessionPtr session);
    /// Nothing is read and no timer runs while it isn't visible, as it isn't at first.
    void setVisible(bool visible);
    [[nodiscard]] bool isVisible() const { return m_isVisible; }

    [[nodiscard]] QString title() const;
    [[nodiscard]] bool isAlive() const;
    [[nodiscard]] int contextUsed() const;
    [[nodiscard]] QString contextText() const;
    [[nodiscard]] ContextLevel contextLevel() const;
    [[nodiscard]] bool showKillConfirm() const { return m_showKillConfirm; }
    void setShowKillConfirm(bool value);
    [[nodiscard]] bool showSessionInfo() const { return m_showSessionInfo; }
    void setShowSessionInfo(bool value);
    [[nodiscard]] QString statusSymbol() const;
    [[nodiscard]] QString statusText() const;
    [[nodiscard]] StatusTone statusTone() const;
    [[nodiscard]] QVariantList infoRows() const;
    [[nodiscard]] ChatMessageModel *messages() { return &m_messages; }
    [[nodiscard]] bool isEmpty() const { return m_isEmpty; }
    [[nodiscard]] QString typingText() const;
    [[nodiscard]] ActionKind actionKind() const;
    [[nodiscard]] QString toolName() const;
    [[nodiscard]] QString toolInput() const;
    [[nodiscard]] bool hasAlwaysAllow() const;
    [[nodiscard]] bool allowPressed() const { return m_allowPressed; }
    [[nodiscard]] QVariantList questions() const;
    [[nodiscard]] bool canAnswer() const;
    [[nodiscard]] QString answerRefusal() const;
    [[nodiscard]] bool showsInputBar() const;
    [[nodiscard]] bool inputEnabled() const;
    [[nodiscard]] QString placeholder() const;
    [[nodiscard]] const QString &typedText() const { return m_typedText; }
    void setTypedText(const QString &text);
    [[nodiscard]] bool canSend() const { return m_canSend; }
    [[nodiscard]] bool isDictating() const { return m_isDictating; }
    [[nodiscard]] DictationService *dictation() const { return m_dictation.get(); }
    [[nodiscard]] QString footerText() const;
    [[nodiscard]] QString footerSymbol() const;

    /// Sends what has been typed, without the blanks around it, and empties the field. Blanks alone, and what would be
    /// refused, stay in the field. Ends a dictation and sends the transcript.
    Q_INVOKABLE void send();
    /// Begins to take dictation; the second time, the same as send().
    Q_INVOKABLE void toggleDictation();
    // Each answers what is shown, once: a second press, and a press on what is no longer asked, do nothing.
    Q_INVOKABLE void allow();
    Q_INVOKABLE void deny();
    Q_INVOKABLE void denyAndStop();
    Q_INVOKABLE void alwaysAllow();
    /// Takes an option, from 0.
    Q_INVOKABLE void answer(int index);
    Q_INVOKABLE void focusTerminal();
    /// Closes the session's tab and ends the agent.
    Q_INVOKABLE void kill();
    Q_INVOKABLE void close();
    /// Opens a link of a message: http, https and mailto, and files that exist. Everything else is ignored.
    Q_INVOKABLE void openLink(const QString &link);

Q_SIGNALS:
    void headerChanged();
    void showKillConfirmChanged();
    void showSessionInfoChanged();
    void statusChanged();
    void infoRowsChanged();
    void isEmptyChanged();
    void typingTextChanged();
    void actionChanged();
    void allowPressedChanged();
    void questionsChanged();
    void answerChanged();
    void inputChanged();
    void typedTextChanged();
    void canSendChanged();
    void isDictatingChanged();
    void footerChanged();
    /// A moment after rows came or went, when they have been laid out.
    void scrollToEnd();
    /// The user leaves the chat.
    void closed();

private:
    void takeChanges(const QList<SessionPtr> &sessions);
    /// Has all properties follow the session.
    void update();
    void updateCanSend();
    void updateIsEmpty();
    void setAllowPressed(bool pressed);
    void forgetAnswer();
    /// Whether the request that is shown is still the one asked, and has not been answered; then it counts as answered.
    [[nodiscard]] bool takeRequest();
    /// Whether it was taken.
    bool sendText(const QString &text);
    void connectDictation();
    void beginDictation();
    /// Stops to listen, and has the field hold the given text.
    void endDictation(const QString &text);
    /// What was typed before the dictation, and what was dictated.
    [[nodiscard]] QString draftAndTranscript() const;
    void startTranscript();
    void refresh();
    void takeTranscript(const std::vector<TranscriptMessage> &messages);
    void scrollSoon();

    const PanelServices m_services;
    const SessionCallbacks m_callbacks;
    SessionPtr m_session;
    std::unique_ptr<ChatFacts> m_facts; ///< What is shown of the session.
    ChatMessageModel m_messages;
    std::unique_ptr<ChatTranscript> m_transcript;
    const std::unique_ptr<DictationService> m_dictation;
    std::unique_ptr<ChatRequest> m_answered; ///< The request that was answered from here last, while it may be shown.
    QString m_typedText;
    QString m_draft; ///< What had been typed when the dictation began.
    bool m_isDictating { false };
    bool m_isVisible { false };
    bool m_isEmpty { false };
    bool m_hasRead { false };
    bool m_canSend { false };
    bool m_allowPressed { false };
    bool m_showKillConfirm { false };
    bool m_showSessionInfo { false };
    ScheduledTimer m_refreshTimer;
    ScheduledTimer m_eventTimer;  ///< Until what an event has written is read.
    ScheduledTimer m_scrollTimer; ///< Until the list scrolls.
    ScheduledTimer m_pressTimer;  ///< Runs as long as a press may be the second of a double press.
    ScheduledTimer m_answerTimer; ///< Runs as long as an option that was taken may still be shown as open.
};

} // namespace vantry
