// The verb: a board with its server, until somebody ends it.

#include "serve/api.h"
#include "serve/assets.h"
#include "serve/security.h"

#include "camera.h"
#include "console.h"
#include "interruption.h"
#include "output_file.h"
#include "set_up.h"
#include "stimulus.h"
#include "temporary_folder.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <thread>

namespace qelm::server {
namespace {

/** The page's files; everything else is the API's. */
Answer answerRequest(ServedBoard& served, const Request& request) {
    const std::span<const Asset> all = assets();
    const auto asset = std::ranges::find(all, request.path, &Asset::path);
    Answer result;
    if (asset != all.end()) {
        result.head = {.contentType = std::string(asset->contentType), .body = std::string(asset->bytes)};
    } else {
        result = answer(served, request);
    }
    addSecurityHeaders(result.head.headers);
    return result;
}

std::optional<Response> checkHead(const SecurityOptions& security, const Request& head, std::uint64_t& bodyLimit) {
    std::optional<Response> response = refusal(head, security);
    const std::span<const Asset> all = assets();
    const bool isAsset = std::ranges::find(all, head.path, &Asset::path) != all.end();
    if (!response) {
        try {
            if (!isAsset) {
                bodyLimit = findRoute(head).limit();
            } else if (head.method != "GET" && head.method != "HEAD") {
                throw ApiError(405, head.path + " takes GET.");
            }
        } catch (const ApiError& error) {
            response = errorResponse(error);
        }
    }
    if (response) {
        addSecurityHeaders(response->headers);
    }
    return response;
}

bool isLoopback(const std::string& address) {
    return address == "127.0.0.1" || address == "::1";
}

/** By the name that the server answers to. */
std::string urlOf(const tool::ServeOptions& options, std::uint16_t port, const std::string& token) {
    const std::string name = options.listen == "::1"      ? "[::1]"
                             : isLoopback(options.listen) ? options.listen
                                                          : options.allowedHosts.front();
    return "http://" + name + ":" + std::to_string(port) + "/#" + token;
}

/**
 * By a private file that leads there: what stands in a command line, others on the computer can read.
 *
 * @return whether there is a browser
 */
bool openPage(const std::string& url) {
    const std::filesystem::path file = tool::temporaryFolder().path() / "console.html";
    tool::writeTemporaryFile(file, "<!DOCTYPE html><meta charset=\"utf-8\"><title>qelm serve</title>"
                                   "<meta http-equiv=\"refresh\" content=\"0; url=" +
                                       url + "\"><a href=\"" + url + "\">The console</a>\n");
    return tool::openInBrowser(file);
}

} // namespace
} // namespace qelm::server

namespace qelm::tool {

int serve(const CommonOptions& options, const ServeOptions& serveOptions) {
    using namespace server;
    const bool isOpen = !isLoopback(serveOptions.listen);
    if (isOpen && serveOptions.allowedHosts.empty()) {
        throw std::runtime_error(
            "--listen " + serveOptions.listen +
            " opens the board to the network: name with --allow-host what the server is called by");
    }
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions& control = requireVirtualBoard(applet, "can be served");
    if (showCameraHelp(options, control, serveOptions.camera)) {
        return 0;
    }
    Session session = startSession(applet, options);
    makeSettings(session, serveOptions.settings);
    connectCamera(session, serveOptions.camera);
    requireNoWarnings(options);
    startTriggers(session, options, serveOptions.settings);
    const SecurityOptions security{.token = newToken(), .allowedHosts = serveOptions.allowedHosts};
    ServedBoard served(std::move(session), serveOptions.camera);
    const HttpServer http(
        {.address = serveOptions.listen, .port = serveOptions.port},
        [&](const Request& head, std::uint64_t& bodyLimit) { return checkHead(security, head, bodyLimit); },
        [&](const Request& request) { return answerRequest(served, request); });
    const std::string url = urlOf(serveOptions, http.port(), security.token);
    if (isOpen) {
        printError("warning: whoever reaches " + serveOptions.listen +
                   " and reads along on the network can drive the board; nothing is encrypted");
    }
    if (options.json) {
        print(Json{{"url", url}, {"port", http.port()}, {"token", security.token}});
    } else {
        std::cout << url << "\nCtrl-C ends the board.\n";
    }
    std::cout.flush();
    if (serveOptions.open && !openPage(url)) {
        printError("no browser could be started: open the address by hand");
    }
    const struct Ending {
        ServedBoard& served;
        ~Ending() { served.end(); }
    } ending{served}; // before the server waits for its streams
    for (;;) {
        try {
            checkForInterruption();
        } catch (const Interrupted&) { // that is how a server is told to end
            return 0;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

} // namespace qelm::tool
