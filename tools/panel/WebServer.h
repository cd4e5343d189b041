#ifndef TLG_TOOLS_PANEL_WEBSERVER_H
#define TLG_TOOLS_PANEL_WEBSERVER_H

#include <httplib.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "tools/panel/Actions.h"
#include "tools/panel/Feed.h"

namespace panel {

/// Whose browsers are served: those of the panel's own user and root, or everybody's.
enum class Users { Own, Any };

/// Serves the page, and what it asks for, to browsers of this machine. A page of another origin gets nothing, and what
/// is to be done also takes the token that stands in the page.
class WebServer {
public:
    /// @param feed outlives it
    /// @param users the panel does what they ask in its own user's name
    WebServer(Feed& feed, Users users);
    ~WebServer() { Stop(); }
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// Listens at 127.0.0.1 and serves on threads of its own.
    /// @param port 0: a free one
    /// @return the port; 0 with errno set where it can't be had
    int Start(int port);

    /// Ends what is being served. The feed must be stopped before.
    void Stop();

private:
    bool IsAllowed(const httplib::Request& request) const;
    bool IsAllowedUser(int peerPort) const;
    void AddRoutes();
    void SendPage(httplib::Response& response) const;
    void SendUpdates(const httplib::Request& request, httplib::Response& response);
    void AddAction(const char* path, const std::function<Outcome(const std::string& body)>& act);

    Feed& m_feed;
    Users m_users;
    std::string m_token;
    int m_port = 0;
    std::atomic<int> m_pages{0};
    httplib::Server m_server;
    std::thread m_thread;
};

} // namespace panel

#endif
