#pragma once

#include "platform/posix/file_handle.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

/// A server of this machine that answers as the test tells it: one connection after the other, one request in
/// each (RFC 9112). Its port is its own.
class HttpServer {
  public:
    struct Request {
        std::string target; ///< "GET /model HTTP/1.1" has "/model"
        std::string method;
        long rangeBegin = 0; ///< of "Range: bytes=500-"; 0 when there is none
    };

    /// The client's side of a connection.
    class Client {
      public:
        Client(int connection, int ending) : m_connection(connection), m_ending(ending) {}

        /// As much as the client takes; false when that is not all.
        bool send(std::string_view text) const {
            while (!text.empty()) {
                const ssize_t count = ::send(m_connection, text.data(), text.size(), MSG_NOSIGNAL);
                if (count <= 0) return false;
                text.remove_prefix(static_cast<std::size_t>(count));
            }
            return true;
        }
        void sendHead(const std::string& status, const std::string& headers = "") const {
            send("HTTP/1.1 " + status + "\r\n" + headers + "Connection: close\r\n\r\n");
        }
        /// The whole answer.
        void answer(const std::string& status, std::string_view body, const std::string& headers = "") const {
            sendHead(status, headers + "Content-Length: " + std::to_string(body.size()) + "\r\n");
            send(body);
        }
        /// A file, or as much of it as was asked for.
        void answerFile(const Request& request, std::string_view file) const {
            if (request.rangeBegin == 0) return answer("200 OK", file);
            const auto begin = static_cast<std::size_t>(request.rangeBegin);
            if (begin >= file.size()) return answer("416 Range Not Satisfiable", "");
            answer("206 Partial Content", file.substr(begin),
                   "Content-Range: bytes " + std::to_string(begin) + "-" + std::to_string(file.size() - 1) +
                       "/" + std::to_string(file.size()) + "\r\n");
        }
        /// Says nothing more until the client goes away.
        void stall() const {
            std::array<pollfd, 2> watched{{{m_connection, POLLIN | POLLRDHUP, 0}, {m_ending, POLLIN, 0}}};
            ::poll(watched.data(), watched.size(), -1);
        }

      private:
        friend class HttpServer;

        Request receive() const {
            std::string head;
            std::array<char, 4096> buffer;
            while (head.find("\r\n\r\n") == head.npos) {
                const ssize_t count = ::recv(m_connection, buffer.data(), buffer.size(), 0);
                if (count <= 0) break;
                head.append(buffer.data(), static_cast<std::size_t>(count));
                if (head.front() == '\x16') break; // a TLS handshake (RFC 8446), and no request
            }
            Request request;
            const std::size_t space = head.find(' ');
            request.method = head.substr(0, space);
            request.target = head.substr(space + 1, head.find(' ', space + 1) - space - 1);
            constexpr std::string_view range = "\r\nRange: bytes=";
            if (const std::size_t found = head.find(range); found != head.npos)
                request.rangeBegin = std::stol(head.substr(found + range.size()));
            return request;
        }

        int m_connection;
        int m_ending;
    };

    using Handler = std::function<void(const Request&, const Client&)>;

    explicit HttpServer(Handler handler)
        : m_handler(std::move(handler)), m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)),
          m_ending(::eventfd(0, EFD_CLOEXEC)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const plain = reinterpret_cast<sockaddr*>(&address);
        if (::bind(m_listener.get(), plain, length) != 0 || ::listen(m_listener.get(), 8) != 0 ||
            ::getsockname(m_listener.get(), plain, &length) != 0)
            throw std::system_error(errno, std::generic_category(), "HttpServer");
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~HttpServer() {
        ::eventfd_write(m_ending.get(), 1);
        m_thread.join();
    }
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// "http://127.0.0.1:40000" with the path behind it.
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }
    /// All so far, in order.
    std::vector<Request> requests() const {
        const std::lock_guard lock(m_mutex);
        return m_requests;
    }

  private:
    void serve() {
        std::array<pollfd, 2> watched{{{m_ending.get(), POLLIN, 0}, {m_listener.get(), POLLIN, 0}}};
        for (;;) {
            ::poll(watched.data(), watched.size(), -1);
            if (watched[0].revents != 0) return;
            const FileHandle connection(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!connection) continue;
            const Client client(connection.get(), m_ending.get());
            const Request request = client.receive();
            {
                const std::lock_guard lock(m_mutex);
                m_requests.push_back(request);
            }
            m_handler(request, client);
            ::shutdown(connection.get(), SHUT_WR); // a close with bytes unread would reset what was sent
        }
    }

    const Handler m_handler;
    FileHandle m_listener;
    FileHandle m_ending;
    int m_port = 0;
    mutable std::mutex m_mutex;
    std::vector<Request> m_requests; // guarded by m_mutex
    std::thread m_thread;            // last: it uses all of the above
};
