#pragma once

#include <QMap>
#include <QPointer>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

#include <nlohmann/json.hpp>

#include <memory>
#include <vector>

namespace vantry::test {

/// A server on the loopback network that speaks the Bot API as a test tells it to. Runs in the event loop of the test.
class FakeBotApi
{
public:
    /// One request, whose connection waits for an answer.
    struct Request
    {
        QString verb;
        QString path; ///< With the query.
        QByteArray head;
        QByteArray body;
        QPointer<QTcpSocket> connection;

        /// The method's name, without what is asked of it.
        [[nodiscard]] QString method() const { return path.section(u'/', 2).section(u'?', 0, 0); }
        [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(body.toStdString(), nullptr, false); }
        [[nodiscard]] bool isOpen() const
        {
            return connection && connection->state() == QAbstractSocket::ConnectedState;
        }
        void answer(const QByteArray &answerBody, int status = 200) const
        {
            write("HTTP/1.1 " + QByteArray::number(status) +
                  " Whatever\r\nContent-Type: application/json\r\nContent-Length: " +
                  QByteArray::number(answerBody.size()) + "\r\n\r\n" + answerBody);
        }
        void write(const QByteArray &bytes) const
        {
            if (connection)
                connection->write(bytes);
        }
        void close() const
        {
            if (connection)
                connection->disconnectFromHost();
        }
    };

    FakeBotApi()
    {
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection())
                serve(socket);
        });
        start();
        automatic = { { QStringLiteral("sendMessage"), R"({"ok":true,"result":{"message_id":900}})" },
                      { QStringLiteral("createForumTopic"),
                        R"({"ok":true,"result":{"message_thread_id":77,"name":"n"}})" },
                      { QStringLiteral("answerCallbackQuery"), R"({"ok":true,"result":true})" },
                      { QStringLiteral("editMessageReplyMarkup"), R"({"ok":true,"result":true})" } };
    }
    ~FakeBotApi() { stop(); }
    FakeBotApi(const FakeBotApi &) = delete;
    FakeBotApi &operator=(const FakeBotApi &) = delete;

    [[nodiscard]] QString address() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_port); }

    /// Goes away, with all connections.
    void stop()
    {
        m_server.close();
        const auto connections = m_connections;
        for (const auto &connection : connections)
            delete connection.data();
        m_connections.clear();
    }
    /// Comes back where it was.
    void start()
    {
        if (m_server.listen(QHostAddress::LocalHost, m_port))
            m_port = m_server.serverPort();
    }

    /// Those of one method, in order.
    [[nodiscard]] std::vector<Request> of(const QString &method) const
    {
        std::vector<Request> found;
        for (const Request &request : requests) {
            if (request.method() == method)
                found.push_back(request);
        }
        return found;
    }
    [[nodiscard]] std::vector<Request> polls() const { return of(QStringLiteral("getUpdates")); }

    std::vector<Request> requests;
    /// What a method gets at once; all others wait for the test.
    QMap<QString, QByteArray> automatic;

private:
    void serve(QTcpSocket *socket)
    {
        m_connections.emplace_back(socket);
        auto received = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, received] {
            *received += socket->readAll();
            while (takeRequest(socket, *received)) {
            }
        });
    }
    bool takeRequest(QTcpSocket *socket, QByteArray &received)
    {
        const auto end = received.indexOf("\r\n\r\n");
        if (end < 0)
            return false;
        const QByteArray head = received.first(end);
        qsizetype length = 0;
        for (const QByteArray &line : head.split('\n')) {
            if (line.toLower().startsWith("content-length:"))
                length = line.mid(15).trimmed().toLongLong();
        }
        if (received.size() < end + 4 + length)
            return false;
        const QStringList words = QString::fromUtf8(head.first(head.indexOf("\r\n"))).split(u' ');
        const Request request { words.value(0), words.value(1), head, received.mid(end + 4, length), socket };
        received.remove(0, end + 4 + length);
        requests.push_back(request);
        if (const auto body = automatic.constFind(request.method()); body != automatic.cend())
            request.answer(*body);
        return true;
    }

    QTcpServer m_server;
    quint16 m_port { 0 };
    std::vector<QPointer<QTcpSocket>> m_connections;
};

} // namespace vantry::test
