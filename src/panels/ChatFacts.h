#pragma once

#include "panels/ChatViewModel.h"
#include "panels/SessionCallbacks.h"
#include "panels/SessionInfo.h"

#include <QMetaType>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <vector>

namespace vantry {

/// An option of a question.
class ChatOption
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(QString label MEMBER label CONSTANT)
    Q_PROPERTY(QString description MEMBER description CONSTANT)

public:
    QString label;
    QString description;

    friend bool operator==(const ChatOption &, const ChatOption &) = default;
};

/// A question that the session asks.
class ChatQuestion
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(QString question MEMBER question CONSTANT)
    Q_PROPERTY(QString header MEMBER header CONSTANT)
    Q_PROPERTY(bool multiSelect MEMBER multiSelect CONSTANT)
    Q_PROPERTY(QVariantList options READ optionList CONSTANT)

public:
    QString question;
    QString header;
    bool multiSelect { false };
    std::vector<ChatOption> options;

    [[nodiscard]] QVariantList optionList() const;

    friend bool operator==(const ChatQuestion &, const ChatQuestion &) = default;
};

/// The permission request that a chat shows: by this one is told from the next. A held one has an identifier; what is
/// asked in the terminal alone is known by what is asked, and when.
struct ChatRequest
{
    QString heldID;
    QString toolName;
    QString toolDetail;
    std::optional<Date> askedAt;

    friend bool operator==(const ChatRequest &, const ChatRequest &) = default;
};

/// All that a chat shows of its session beside the messages, as one plain value, in the groups that change together.
struct ChatFacts
{
    struct Header
    {
        QString title;
        bool isAlive { false };
        int contextUsed { -1 };
        QString contextText;
        ChatViewModel::ContextLevel contextLevel { ChatViewModel::Green };
        friend bool operator==(const Header &, const Header &) = default;
    };
    struct Action
    {
        ChatViewModel::ActionKind kind { ChatViewModel::NoAction };
        QString toolName;
        QString toolInput;
        bool hasAlwaysAllow { false };
        friend bool operator==(const Action &, const Action &) = default;
    };
    struct Answer
    {
        bool isPossible { false };
        QString refusal;
        friend bool operator==(const Answer &, const Answer &) = default;
    };
    struct Input
    {
        bool isShown { false };
        bool isEnabled { false };
        QString placeholder;
        friend bool operator==(const Input &, const Input &) = default;
    };
    struct Footer
    {
        QString text;
        QString symbol;
        friend bool operator==(const Footer &, const Footer &) = default;
    };

    Header header;
    SessionStatus status;
    std::vector<SessionInfoRow> infoRows;
    QString typingText;
    Action action;
    std::optional<ChatRequest> request;
    std::vector<ChatQuestion> questions;
    Answer answer;
    Input input;
    Footer footer;
};

/// Main thread only.
[[nodiscard]] ChatFacts chatFacts(const SessionPtr &session, const SessionCallbacks &callbacks, const QString &home);

/// The values as QML takes them.
template <typename Value>
QVariantList toVariantList(const std::vector<Value> &values)
{
    QVariantList list;
    list.reserve(static_cast<qsizetype>(values.size()));
    for (const Value &value : values)
        list.append(QVariant::fromValue(value));
    return list;
}

} // namespace vantry

Q_DECLARE_METATYPE(vantry::ChatOption)
Q_DECLARE_METATYPE(vantry::ChatQuestion)
