#include "serve/http_server.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <limits>
#include <list>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace qelm::server {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using boost::system::error_code;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/** "/path?a=b&c" into path and query. */
bool readTarget(std::string_view target, Request& request) {
    const std::size_t mark = target.find('?');
    const std::optional<std::string> path = decodeUrl(target.substr(0, mark), false);
    if (!path || !path->starts_with('/')) {
        return false;
    }
    request.path = *path;
    std::string_view rest = mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
    while (!rest.empty()) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
        const std::size_t equals = pair.find('=');
        const std::optional<std::string> name = decodeUrl(pair.substr(0, equals), true);
        const std::optional<std::string> value =
            decodeUrl(equals == std::string_view::npos ? std::string_view() : pair.substr(equals + 1), true);
        if (!name || !value) {
            return false;
        }
        request.query[*name] = *value;
    }
    return true;
}

Response plain(unsigned status, const std::string& sentence) {
    return {.status = status, .contentType = "text/plain; charset=utf-8", .body = sentence + "\n"};
}

/** One connection. The operations wait, but no longer than the time-out, and stop() ends them from another thread. */
class Connection {
  public:
    Connection(const ServerOptions& options, const HeadCheck& check, const Handler& handler)
        : options_(options)
        , check_(check)
        , handler_(handler)
        , stream_(context_) {}

    tcp::socket& socket() { return stream_.socket(); }
    /** Ends what the connection is doing; from another thread. */
    void stop() {
        stop_ = true;
        context_.stop();
    }
    bool finished() const { return finished_; }

    void start(bool overcrowded) {
        thread_ = std::thread([this, overcrowded] {
            try {
                serve(overcrowded);
            } catch (const std::exception&) {
                // Out of memory or threads: the connection ends, the server goes on.
            }
            error_code ignored;
            stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
            stream_.socket().close(ignored);
            finished_ = true;
        });
    }
    void join() { thread_.join(); }

  private:
    class Chunks;

    /** Runs one asynchronous operation to its end. @return its error; operation_aborted after stop() */
    template <typename Start>
    error_code await(Start&& start) {
        return await(std::chrono::seconds(options_.timeout), std::forward<Start>(start));
    }
    template <typename Start>
    error_code await(std::chrono::milliseconds timeout, Start&& start) {
        error_code result = asio::error::operation_aborted;
        stream_.expires_after(timeout);
        start([&result](error_code error, std::size_t) { result = error; });
        context_.restart();
        if (stopped()) {
            return asio::error::operation_aborted;
        }
        context_.run();
        return result;
    }
    bool stopped() const { return stop_; }

    void serve(bool overcrowded) {
        if (overcrowded) {
            send(plain(503, "Too many connections."), 11, false, false);
        } else {
            while (!stopped() && serveRequest()) {
            }
        }
        linger();
    }

    /**
     * Takes in what is still on its way, for a moment: closing a socket with unread bytes would take the answer back
     * from a client that is still sending.
     */
    void linger() {
        error_code error;
        stream_.socket().shutdown(tcp::socket::shutdown_send, error);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        std::vector<char> scratch(65536);
        while (!error && !stopped()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            if (left.count() <= 0) {
                return;
            }
            error = await(left, [&](auto done) { stream_.async_read_some(asio::buffer(scratch), done); });
        }
    }

    /** @return whether the connection goes on */
    bool serveRequest() {
        http::request_parser<http::string_body> parser;
        parser.header_limit(options_.headerLimit);
        parser.body_limit(std::numeric_limits<std::uint64_t>::max()); // until the head tells; "none" is taken for 0
        error_code error = await([&](auto done) { http::async_read_header(stream_, buffer_, parser, done); });
        if (error) {
            if (error == http::error::header_limit) {
                send(plain(431, "The header is too large."), 11, false, false);
            } else if (error.category() == http::make_error_code(http::error::bad_method).category() &&
                       error != http::error::end_of_stream && error != http::error::partial_message) {
                send(plain(400, "This is no HTTP request."), 11, false, false);
            }
            return false;
        }
        const unsigned version = parser.get().version();
        const bool isHead = parser.get().method() == http::verb::head;
        Request request;
        request.method = std::string(parser.get().method_string());
        for (const auto& field : parser.get()) {
            std::string& value = request.headers[std::string(field.name_string())];
            value += (value.empty() ? "" : ", ") + std::string(field.value());
        }
        if (!readTarget({parser.get().target().data(), parser.get().target().size()}, request)) {
            send(plain(400, "The address is none."), version, false, isHead);
            return false;
        }
        std::uint64_t bodyLimit = 0;
        if (const std::optional<Response> refusal = check_(request, bodyLimit)) {
            const bool hasBody = parser.chunked() || parser.content_length().value_or(0) > 0;
            // A body that nobody reads would be taken for the next request.
            const bool keep = parser.get().keep_alive() && !hasBody;
            return send(*refusal, version, keep, isHead) && keep;
        }
        if (parser.content_length().value_or(0) > bodyLimit) {
            send(plain(413, "The body is too large."), version, false, isHead);
            return false;
        }
        parser.body_limit(bodyLimit);
        if (request.header("Expect") == "100-continue" && !parser.is_done()) {
            http::response<http::empty_body> goOn(http::status::continue_, version);
            if (await([&](auto done) { http::async_write(stream_, goOn, done); })) {
                return false;
            }
        }
        while (!parser.is_done()) { // piece by piece, so that the time-out is one of standing still
            error = await([&](auto done) { http::async_read_some(stream_, buffer_, parser, done); });
            if (error) {
                if (error == http::error::body_limit) {
                    send(plain(413, "The body is too large."), version, false, isHead);
                } else if (error == beast::error::timeout) {
                    send(plain(408, "The body did not come in time."), version, false, isHead);
                }
                return false;
            }
        }
        request.body = std::move(parser.get().body());
        Answer answer;
        try {
            answer = handler_(request);
        } catch (const std::exception& problem) {
            answer = {.head = plain(500, problem.what())};
        }
        const bool keep = parser.get().keep_alive();
        if (answer.stream && !isHead) {
            sendStream(answer, version);
            return false;
        }
        return send(answer.head, version, keep, isHead) && keep;
    }

    template <typename Body>
    static http::response<Body> headOf(const Response& response, unsigned version, bool keep) {
        http::response<Body> message(http::int_to_status(response.status), version);
        if (message.result() == http::status::unknown) {
            message.result(response.status);
        }
        message.set(http::field::content_type, response.contentType);
        for (const auto& [name, value] : response.headers) {
            message.set(name, value);
        }
        message.keep_alive(keep);
        return message;
    }

    bool send(const Response& response, unsigned version, bool keep, bool isHead) {
        http::response<http::span_body<const char>> message =
            headOf<http::span_body<const char>>(response, version, keep);
        message.body() = {response.body.data(), response.body.size()};
        message.content_length(response.body.size());
        http::response_serializer<http::span_body<const char>> serializer(message);
        serializer.split(isHead);
        serializer.limit(65536);
        error_code error = await([&](auto done) { http::async_write_header(stream_, serializer, done); });
        while (!error && !isHead && !serializer.is_done()) {
            error = await([&](auto done) { http::async_write_some(stream_, serializer, done); });
        }
        return !error;
    }

    void sendStream(const Answer& answer, unsigned version);

    const ServerOptions& options_;
    const HeadCheck& check_;
    const Handler& handler_;
    asio::io_context context_{1};
    beast::tcp_stream stream_;
    beast::flat_buffer buffer_;
    std::thread thread_;
    std::atomic<bool> finished_ = false;
    std::atomic<bool> stop_ = false;
};

/** A body in chunks, each piece one of them. */
class Connection::Chunks final : public BodyStream {
  public:
    explicit Chunks(Connection& connection) : connection_(connection) {}

    bool write(std::string_view piece) override {
        if (alive_ && !piece.empty()) {
            alive_ = !connection_.await([&](auto done) {
                asio::async_write(connection_.stream_, http::make_chunk(asio::const_buffer(piece.data(), piece.size())),
                                  done);
            });
        }
        return alive_ && !connection_.stopped();
    }
    void finish() {
        if (alive_) {
            static_cast<void>(connection_.await(
                [&](auto done) { asio::async_write(connection_.stream_, http::make_chunk_last(), done); }));
        }
    }

  private:
    Connection& connection_;
    bool alive_ = true;
};

void Connection::sendStream(const Answer& answer, unsigned version) {
    http::response<http::empty_body> message = headOf<http::empty_body>(answer.head, version, false);
    message.chunked(true);
    http::response_serializer<http::empty_body> serializer(message);
    stream_.socket().set_option(tcp::no_delay(true));
    if (await([&](auto done) { http::async_write_header(stream_, serializer, done); })) {
        return;
    }
    Chunks chunks(*this);
    answer.stream(chunks);
    chunks.finish();
}

} // namespace

class HttpServer::Implementation {
  public:
    Implementation(const ServerOptions& options, HeadCheck check, Handler handler)
        : options_(options)
        , check_(std::move(check))
        , handler_(std::move(handler)) {
        error_code error;
        const asio::ip::address address = asio::ip::make_address(options.address, error);
        if (error) {
            throw std::runtime_error("\"" + options.address + "\" is no IP address");
        }
        const tcp::endpoint endpoint(address, options.port);
        acceptor_.open(endpoint.protocol(), error);
#ifndef _WIN32
        // There it would let two servers share a port.
        acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
#endif
        acceptor_.bind(endpoint, error);
        if (!error) {
            acceptor_.listen(asio::socket_base::max_listen_connections, error);
        }
        if (error) {
            throw std::runtime_error("listening at " + options.address + ", port " + std::to_string(options.port) +
                                     ", failed: " + error.message());
        }
        port_ = acceptor_.local_endpoint().port();
        thread_ = std::thread([this] {
            while (!stop_) {
                accept();
            }
        });
    }

    ~Implementation() {
        stop_ = true;
        context_.stop();
        thread_.join();
        for (const std::unique_ptr<Connection>& connection : connections_) {
            connection->stop();
        }
        for (const std::unique_ptr<Connection>& connection : connections_) {
            connection->join();
        }
    }

    std::uint16_t port() const {
        return port_;
    }

  private:
    void accept() {
        auto connection = std::make_unique<Connection>(options_, check_, handler_);
        error_code result = asio::error::operation_aborted;
        acceptor_.async_accept(connection->socket(), [&](error_code error) { result = error; });
        context_.restart();
        if (!stop_) {
            context_.run();
        }
        if (stop_) {
            error_code ignored;
            acceptor_.close(ignored);
            context_.restart();
            context_.poll(); // the aborted accept must not outlive the socket
            return;
        }
        if (result) { // e.g. out of descriptors: not in a tight loop
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            return;
        }
        connections_.remove_if([](const std::unique_ptr<Connection>& one) {
            if (!one->finished()) {
                return false;
            }
            one->join();
            return true;
        });
        // Those that are turned away take a thread as well, for a moment: not without bound either.
        if (connections_.size() >= 2 * options_.connections) {
            return;
        }
        const bool overcrowded = connections_.size() >= options_.connections;
        connections_.push_back(std::move(connection));
        connections_.back()->start(overcrowded);
    }

    const ServerOptions options_;
    const HeadCheck check_;
    const Handler handler_;
    asio::io_context context_{1};
    tcp::acceptor acceptor_{context_};
    std::uint16_t port_ = 0;
    std::atomic<bool> stop_ = false;
    std::list<std::unique_ptr<Connection>> connections_; // of the accepting thread
    std::thread thread_;
};

HttpServer::HttpServer(const ServerOptions& options, HeadCheck check, Handler handler)
    : implementation_(std::make_unique<Implementation>(options, std::move(check), std::move(handler))) {}
HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::port() const {
    return implementation_->port();
}

bool HeaderLess::operator()(std::string_view left, std::string_view right) const {
    return std::ranges::lexicographical_compare(left, right, {}, lower, lower);
}

const std::string& Request::header(std::string_view name) const {
    static const std::string none;
    const auto found = headers.find(std::string(name));
    return found == headers.end() ? none : found->second;
}

std::optional<std::string> decodeUrl(std::string_view text, bool plusIsBlank) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+' && plusIsBlank) {
            result += ' ';
        } else if (text[i] != '%') {
            result += text[i];
        } else {
            unsigned code = 0;
            const std::string_view digits = text.substr(i + 1, 2);
            const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
            if (digits.size() != 2 || error != std::errc{} || end != digits.data() + 2 || code == 0) {
                return std::nullopt;
            }
            result += static_cast<char>(code);
            i += 2;
        }
    }
    return result;
}

} // namespace qelm::server
