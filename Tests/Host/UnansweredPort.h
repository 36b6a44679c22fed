#ifndef UNANSWERED_PORT_H
#define UNANSWERED_PORT_H

namespace TTMLTest {

// A port of 127.0.0.1 whose connections stand and are never answered: nobody accepts them.
class UnansweredPort
{
public:
    UnansweredPort();
    ~UnansweredPort();
    UnansweredPort(const UnansweredPort&) = delete;
    UnansweredPort& operator=(const UnansweredPort&) = delete;

    int Port() const { return m_port; }

    // Closes the port, so that connections to it are refused from now on.
    void Close();

    // Waits until a client has connected and sent something; a time-out is a failure.
    bool WaitForClient();

private:
    int m_socket;
    int m_client = -1;
    int m_port = 0;
};

} // namespace TTMLTest

#endif
