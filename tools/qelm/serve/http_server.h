#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/** HTTP/1.1 on one address: what the console asks of a server, whatever library stands behind it. */
namespace qelm::server {

/** Letter case of header names does not count. */
struct HeaderLess {
    bool operator()(std::string_view left, std::string_view right) const;
};
using Headers = std::map<std::string, std::string, HeaderLess>;

struct Request {
    std::string method;                       ///< "GET"
    std::string path;                         ///< decoded, without the query: "/api/parameters/FG_WIDTH"
    std::map<std::string, std::string> query; ///< decoded
    Headers headers;                          ///< of a header that stands several times the values, joined by ", "
    std::string body;

    /** The header's value; empty when there is none. */
    const std::string& header(std::string_view name) const;
};

struct Response {
    unsigned status = 200;
    std::string contentType = "application/json";
    std::string body{};
    Headers headers{};
};

/** The sending side of an answer whose length nobody knows. Used by the thread of its connection alone. */
class BodyStream {
  public:
    virtual ~BodyStream() = default;
    /** Sends one piece. @return false when the client is gone or does not take it in time: the answer has ended */
    virtual bool write(std::string_view piece) = 0;
};

/** An answer: whole, or a function that streams the body; it runs in the thread of the connection until it returns. */
struct Answer {
    Response head;
    std::function<void(BodyStream&)> stream{};
};

/**
 * Looks at the head of a request before its body is read. @return an answer that ends the request, or nothing
 * @param[out] bodyLimit the most bytes that the body may have
 */
using HeadCheck = std::function<std::optional<Response>(const Request& head, std::uint64_t& bodyLimit)>;
/** Answers a request. What it throws becomes status 500. Called from several threads at a time. */
using Handler = std::function<Answer(const Request&)>;

struct ServerOptions {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0; ///< 0: any free one
    std::size_t connections = 16;
    std::uint32_t headerLimit = 16384; ///< bytes
    std::uint32_t timeout = 20;        ///< seconds for a request to come, for a piece of an answer to go
};

/**
 * A thread accepts connections and each connection has a thread; more connections than allowed are answered with
 * status 503. Connections are kept open between requests.
 */
class HttpServer {
  public:
    /** Listens. @throws std::runtime_error with a sentence when the address cannot be had */
    HttpServer(const ServerOptions& options, HeadCheck check, Handler handler);
    /** Ends every connection and waits for their threads: streams must have been told to end, or end with the next
     * write. */
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    std::uint16_t port() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/** Decodes %41 and, in queries, '+'. @return nothing for a broken code or a zero byte */
std::optional<std::string> decodeUrl(std::string_view text, bool plusIsBlank);

} // namespace qelm::server
