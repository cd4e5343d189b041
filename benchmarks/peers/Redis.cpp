// redis: a channel for each role. A value is also kept in a hash, as what is published is not. The server is told not
// to answer what is written.
#include <hiredis/hiredis.h>

#include <stdexcept>

#include "benchmarks/peers/Broker.h"
#include "benchmarks/peers/ValuesText.h"

namespace peers {

namespace {

using Context = std::unique_ptr<redisContext, decltype(&redisFree)>;
using Reply = std::unique_ptr<redisReply, decltype(&freeReplyObject)>;

const char* Channel(Role receiver) {
    return receiver == Role::kService ? "command" : "value";
}

/// Takes the next reply, or message, that has come or comes.
Reply Next(redisContext* context) {
    void* reply = nullptr;
    if (redisGetReply(context, &reply) != REDIS_OK) {
        throw std::runtime_error(std::string("redis: ") + context->errstr);
    }
    return {static_cast<redisReply*>(reply), &freeReplyObject};
}

/// A connection that has subscribed can't publish, so there are two.
class RedisEndpoint : public Endpoint {
public:
    RedisEndpoint(const std::string& socket, Role role) : m_role(role), m_in(Connect(socket)), m_out(Connect(socket)) {
        redisAppendCommand(m_in.get(), "SUBSCRIBE %s", Channel(role));
        Next(m_in.get());
        redisAppendCommand(m_out.get(), "CLIENT REPLY OFF");
        Flush();
    }

    int Fd() const override { return m_in->fd; }

    void Send(const std::string& name, const Values& values, bool isHeard) override {
        const std::string text = TextOf(values);
        if (m_role == Role::kService) {
            redisAppendCommand(m_out.get(), "HSET values %s %s", name.c_str(), text.c_str());
        }
        const char* const channel = Channel(m_role == Role::kHmi ? Role::kService : Role::kHmi);
        redisAppendCommand(m_out.get(), "PUBLISH %s %s:%s", isHeard ? channel : "other", name.c_str(), text.c_str());
        Flush();
    }

    void Receive(const Handler& handler) override {
        if (redisBufferRead(m_in.get()) != REDIS_OK) {
            throw std::runtime_error(std::string("redis: ") + m_in->errstr);
        }
        for (Reply reply = Buffered(); reply; reply = Buffered()) {
            const std::string text(reply->element[2]->str, reply->element[2]->len);
            const std::size_t colon = text.find(':');
            handler(text.substr(0, colon), ValuesIn(std::string_view(text).substr(colon + 1)));
        }
    }

private:
    static Context Connect(const std::string& socket) {
        Context context(nullptr, &redisFree);
        RetryUntilServed(socket, [&] {
            context.reset(redisConnectUnix(socket.c_str()));
            return context && context->err == 0;
        });
        return context;
    }

    void Flush() {
        int isDone = 0;
        while (isDone == 0) {
            if (redisBufferWrite(m_out.get(), &isDone) != REDIS_OK) {
                throw std::runtime_error(std::string("redis: ") + m_out->errstr);
            }
        }
    }

    Reply Buffered() const {
        void* reply = nullptr;
        redisGetReplyFromReader(m_in.get(), &reply);
        return {static_cast<redisReply*>(reply), &freeReplyObject};
    }

    Role m_role;
    Context m_in;
    Context m_out;
};

} // namespace

std::unique_ptr<Broker> StartRedis(const std::string& directory) {
    const std::string socket = directory + "/redis";
    return std::make_unique<PlainBroker<RedisEndpoint>>("redis", socket,
                                                        std::vector<std::string>{"redis-server", "--port", "0",
                                                                                 "--unixsocket", socket, "--save", "",
                                                                                 "--appendonly", "no"});
}

} // namespace peers
