#ifndef HTTP_SERVER_H
#define HTTP_SERVER_H

#include <string>
#include <thread>
#include <vector>

#include <poll.h>

namespace TTMLBench {

// Serves one document on a free port of 127.0.0.1, whatever is asked for, on a thread of its own.
// Connections stay open until the client closes them.
class HttpServer
{
public:
    // Throws std::runtime_error when there is no port to be had.
    explicit HttpServer(const std::string& document);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    std::string Url() const;

private:
    struct Connection
    {
        int socket;
        std::string request; // what has come of it so far
    };

    void m_Run();
    void m_Accept();
    bool m_Serve(Connection& connection);

    std::string m_response;
    int m_listener = -1;
    int m_stop[2] = {-1, -1}; // a pipe; closing its second end ends the thread
    unsigned m_port = 0;
    std::vector<Connection> m_connections; // used by the thread only
    std::thread m_thread;
};

} // namespace TTMLBench

#endif
