#include "telegram/TelegramRecords.h"

#include "base/JsonReader.h"
#include "base/JsonScalars.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// Reads records from one JSON text. The first problem is kept, and the rest is read for its grammar alone.
class RecordReader
{
public:
    explicit RecordReader(std::string_view json)
        : m_reader(json, JsonReader::Strings::Checked)
    {}

    /// The whole text is one record: why it isn't, if so.
    template <typename Record>
    std::optional<QString> readWhole(Record &record)
    {
        read(record, "The answer"_L1);
        if (!m_reader.isAtEnd())
            return u"The answer is not sound JSON"_s;
        return m_problem;
    }

private:
    /// A key that a record knows.
    struct Member
    {
        QLatin1StringView key;
        bool isRequired;
        std::function<void()> read;
        bool isThere { false };
    };

    template <typename Field>
    Member required(QLatin1StringView key, Field &field)
    {
        return { key, true, [this, &field, key] { read(field, key); } };
    }
    template <typename Field>
    Member optional(QLatin1StringView key, Field &field)
    {
        return { key, false, [this, &field, key] { read(field, key); } };
    }

    void read(TelegramChat &chat, QLatin1StringView name)
    {
        readRecord(name, std::array { required("id"_L1, chat.id) });
    }
    void read(TelegramMessage &message, QLatin1StringView name)
    {
        readRecord(name, std::array { required("message_id"_L1, message.messageID),
                                      optional("message_thread_id"_L1, message.messageThreadID),
                                      optional("text"_L1, message.text), required("chat"_L1, message.chat),
                                      optional("reply_to_message"_L1, message.replyToMessage) });
    }
    void read(TelegramCallbackQuery &query, QLatin1StringView name)
    {
        readRecord(name, std::array { required("id"_L1, query.id), optional("data"_L1, query.data),
                                      optional("message"_L1, query.message) });
    }
    void read(TelegramUpdate &update, QLatin1StringView name)
    {
        readRecord(name, std::array { required("update_id"_L1, update.updateID), optional("message"_L1, update.message),
                                      optional("callback_query"_L1, update.callbackQuery) });
    }
    void read(TelegramResponse &response, QLatin1StringView name)
    {
        readRecord(name, std::array { required("ok"_L1, response.ok), required("result"_L1, response.result) });
    }
    void read(TelegramSentMessage &message, QLatin1StringView name)
    {
        readRecord(name, std::array { required("message_id"_L1, message.messageID) });
    }
    void read(TelegramSendResponse &response, QLatin1StringView name)
    {
        readRecord(name, std::array { required("ok"_L1, response.ok), optional("result"_L1, response.result) });
    }
    void read(TelegramForumTopic &topic, QLatin1StringView name)
    {
        readRecord(name, std::array { required("message_thread_id"_L1, topic.messageThreadID),
                                      required("name"_L1, topic.name) });
    }
    void read(TelegramForumTopicResponse &response, QLatin1StringView name)
    {
        readRecord(name, std::array { required("ok"_L1, response.ok), optional("result"_L1, response.result) });
    }

    void read(bool &field, QLatin1StringView name)
    {
        const std::string_view text = scalar();
        if (text != "true" && text != "false")
            return refuse(name, "is neither true nor false"_L1);
        field = text == "true";
    }
    void read(std::int64_t &field, QLatin1StringView name)
    {
        const std::string_view text = scalar();
        const auto value = isJsonNumber(text) ? exactJsonInteger(text) : std::nullopt;
        if (!value)
            return refuse(name, "is no integer of 64 bits"_L1);
        field = *value;
    }
    void read(QString &field, QLatin1StringView name)
    {
        if (m_reader.next() != JsonReader::Kind::String) {
            m_reader.readValue();
            return refuse(name, "is no string"_L1);
        }
        field = decodeJsonString(m_reader.readString()).value_or(QString());
    }
    template <typename Field>
    void read(std::optional<Field> &field, QLatin1StringView name)
    {
        if (takeNull())
            field.reset();
        else
            read(field.emplace(), name);
    }
    template <typename Field>
    void read(std::unique_ptr<Field> &field, QLatin1StringView name)
    {
        if (takeNull()) {
            field.reset();
            return;
        }
        field = std::make_unique<Field>();
        read(*field, name);
    }
    template <typename Element>
    void read(std::vector<Element> &field, QLatin1StringView name)
    {
        field.clear();
        if (m_reader.next() != JsonReader::Kind::Array) {
            m_reader.readValue();
            return refuse(name, "is no array"_L1);
        }
        m_reader.readArray([&] { read(field.emplace_back(), name); });
    }

    template <std::size_t count>
    void readRecord(QLatin1StringView name, std::array<Member, count> members)
    {
        if (m_reader.next() != JsonReader::Kind::Object) {
            m_reader.readValue();
            return refuse(name, "is no object"_L1);
        }
        m_reader.readObject([&](std::string_view source) {
            const std::string key = decodeJsonStringToUtf8(source).value_or(std::string());
            const auto member =
                std::ranges::find(members, QLatin1StringView(key.data(), qsizetype(key.size())), &Member::key);
            if (member == members.end()) {
                m_reader.readValue();
                return;
            }
            member->isThere = true;
            member->read();
        });
        for (const Member &member : members) {
            if (member.isRequired && !member.isThere)
                refuse(member.key, "is missing"_L1);
        }
    }

    /// The source of what stands next; empty when that is no scalar.
    std::string_view scalar()
    {
        if (m_reader.next() == JsonReader::Kind::Scalar)
            return m_reader.readScalar();
        m_reader.readValue();
        return {};
    }
    bool takeNull()
    {
        if (m_reader.next() != JsonReader::Kind::Scalar || !m_reader.rest().starts_with('n'))
            return false;
        m_reader.readScalar();
        return true;
    }
    void refuse(QLatin1StringView name, QLatin1StringView problem)
    {
        if (!m_problem)
            m_problem = u"\"%1\" %2"_s.arg(name, problem);
    }

    JsonReader m_reader;
    std::optional<QString> m_problem;
};

} // namespace

template <typename Record>
Decoded<Record> decode(const QByteArray &body)
{
    if (!body.isValidUtf8())
        return u"The answer is not UTF-8"_s;
    Record record;
    RecordReader reader(std::string_view(body.constData(), static_cast<std::size_t>(body.size())));
    if (auto problem = reader.readWhole(record))
        return *problem;
    return record;
}

template Decoded<TelegramResponse> decode(const QByteArray &body);
template Decoded<TelegramSendResponse> decode(const QByteArray &body);
template Decoded<TelegramForumTopicResponse> decode(const QByteArray &body);

} // namespace vantry
