#include "tools/panel/WebServer.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "tools/panel/Page.h"
#include "tools/panel/PeerUser.h"

namespace panel {

namespace {

/// Each open page has a thread, and so has each request under way.
constexpr int kMaxPages = 24;
constexpr int kThreads = kMaxPages + 8;
constexpr std::size_t kMaxBody = 4U << 20U;
constexpr std::chrono::seconds kHeartbeat(5);
/// By so many characters of the token a page knows its panel.
constexpr std::size_t kPanelId = 8;

constexpr int kForbidden = 403;
constexpr int kTooMany = 503;

std::string RandomWord() {
    std::array<unsigned char, 16> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("no random numbers");
    }
    std::string word;
    for (const unsigned char byte : bytes) {
        word += static_cast<char>('a' + byte % 16);
        word += static_cast<char>('a' + byte / 16);
    }
    return word;
}

void Replace(std::string& text, std::string_view what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
}

void Answer(httplib::Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(text, "text/plain; charset=utf-8");
}

} // namespace

WebServer::WebServer(Feed& feed, Users users) : m_feed(feed), m_users(users), m_token(RandomWord()) {
    m_server.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    m_server.set_payload_max_length(kMaxBody);
    m_server.set_keep_alive_timeout(2);
    m_server.set_default_headers({{"Cache-Control", "no-store"},
                                  {"X-Content-Type-Options", "nosniff"},
                                  {"Referrer-Policy", "no-referrer"},
                                  {"Cross-Origin-Resource-Policy", "same-origin"}});
    m_server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        if (IsAllowed(request)) {
            return httplib::Server::HandlerResponse::Unhandled;
        }
        Answer(response, kForbidden, "not from this panel's own page, or not from its own user\n");
        return httplib::Server::HandlerResponse::Handled;
    });
    AddRoutes();
}

int WebServer::Start(int port) {
    // Not the library's default, which lets two panels have one port.
    m_server.set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    errno = 0;
    m_port = port == 0                                  ? std::max(m_server.bind_to_any_port("127.0.0.1"), 0)
             : m_server.bind_to_port("127.0.0.1", port) ? port
                                                        : 0;
    if (m_port != 0) {
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
    }
    return m_port;
}

void WebServer::Stop() {
    if (m_thread.joinable()) {
        m_server.stop();
        m_thread.join();
    }
}

/// Whether a request is of the panel's own page: its host and origin are the panel's (a page elsewhere may have a name
/// that leads here), and what changes something has the token.
bool WebServer::IsAllowed(const httplib::Request& request) const {
    const std::string host = request.get_header_value("Host");
    const std::string port = ":" + std::to_string(m_port);
    const std::string origin = request.get_header_value("Origin");
    constexpr int kUsualPort = 80; // which browsers leave out
    const bool isOwnHost = host == "127.0.0.1" + port || host == "localhost" + port ||
                           (m_port == kUsualPort && (host == "127.0.0.1" || host == "localhost"));
    const bool isOwnOrigin = origin.empty() || origin == "http://" + host;
    const std::string site = request.get_header_value("Sec-Fetch-Site");
    // A link elsewhere may lead to the page, which then is a page of its own.
    const bool isVisit = request.path == "/" && request.get_header_value("Sec-Fetch-Mode") == "navigate" &&
                         request.get_header_value("Sec-Fetch-Dest") == "document";
    const bool isOwnSite = site.empty() || site == "same-origin" || site == "none" || isVisit;
    const bool mayAct = request.method == "GET" || request.get_header_value("X-Token") == m_token;
    return isOwnHost && isOwnOrigin && isOwnSite && mayAct && IsAllowedUser(request.remote_port);
}

bool WebServer::IsAllowedUser(int peerPort) const {
    const std::optional<uid_t> user = m_users == Users::Own ? UserOfPeer(peerPort, m_port) : ::geteuid();
    return user && (*user == ::geteuid() || *user == 0);
}

void WebServer::AddRoutes() {
    m_server.Get("/", [this](const httplib::Request& /*request*/, httplib::Response& response) { SendPage(response); });
    m_server.Get("/updates", [this](const httplib::Request& request, httplib::Response& response) {
        SendUpdates(request, response);
    });
    AddAction("/write", WriteLine);
    AddAction("/order", GiveOrder);
    AddAction("/detail", [this](const std::string& number) { return DetailOf(m_feed, number); });
    AddAction("/recording", [this](const std::string& numbers) { return RecordingOf(m_feed, numbers); });
}

/// A POST whose body says what is to be done.
void WebServer::AddAction(const char* path, const std::function<Outcome(const std::string& body)>& act) {
    m_server.Post(path, [act](const httplib::Request& request, httplib::Response& response) {
        const Outcome outcome = act(request.body);
        Answer(response, outcome.status, outcome.text);
    });
}

void WebServer::SendPage(httplib::Response& response) const {
    const std::string nonce = RandomWord();
    std::string page(kPage);
    Replace(page, "NONCE", nonce);
    Replace(page, "TOKEN", m_token);
    response.set_header("Content-Security-Policy",
                        "default-src 'none'; connect-src 'self'; img-src data:; base-uri 'none'; form-action 'none'; "
                        "frame-ancestors 'none'; script-src 'nonce-" +
                            nonce + "'; style-src 'nonce-" + nonce + "'");
    response.set_content(page, "text/html; charset=utf-8");
}

/// Sends updates as events, from the packet on that the page asks for, until the page or the panel ends.
void WebServer::SendUpdates(const httplib::Request& request, httplib::Response& response) {
    if (++m_pages > kMaxPages) {
        --m_pages;
        Answer(response, kTooMany, "too many pages are open\n");
        return;
    }
    const auto place = std::make_shared<Feed::Place>();
    if (request.has_param("packet")) {
        place->packet = std::strtoull(request.get_param_value("packet").c_str(), nullptr, 10);
    }
    response.set_chunked_content_provider(
        "text/event-stream",
        [this, place](std::size_t offset, httplib::DataSink& sink) {
            // First of all a page has to know whether it is this panel's.
            const std::string update =
                offset == 0 ? R"({"panel":")" + m_token.substr(0, kPanelId) + R"("})" : m_feed.Next(*place, kHeartbeat);
            if (m_feed.IsStopped()) {
                return false;
            }
            const std::string event = update.empty() ? ":\n\n" : "data: " + update + "\n\n";
            return sink.write(event.data(), event.size());
        },
        [this](bool /*isComplete*/) { --m_pages; });
}

} // namespace panel
