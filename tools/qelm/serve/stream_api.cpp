// The stream of records that a page lives on: newest frames as it asks for them, and what changes.

#include "serve/api.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstring>

namespace qelm::server {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto statisticsInterval = 500ms;

void append(std::string& bytes, std::uint32_t value) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(value >> shift);
    }
}

/** Type, three zeros, length of the JSON, length of the data; JSON; data. */
std::string record(RecordType type, const Json& json, std::span<const std::uint16_t> data = {}) {
    static_assert(std::endian::native == std::endian::little, "the data is sent as it lies in memory");
    const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string bytes(1, static_cast<char>(type));
    bytes.append(3, '\0');
    append(bytes, static_cast<std::uint32_t>(text.size()));
    append(bytes, static_cast<std::uint32_t>(data.size_bytes()));
    bytes += text;
    bytes.append(reinterpret_cast<const char*>(data.data()), data.size_bytes());
    return bytes;
}

class PageStream {
  public:
    PageStream(ServedBoard& served, BodyStream& body)
        : served_(served)
        , body_(body)
        , look_(served.live().look())
        , number_(served.addView(view_))
        , position_(served.feed().end()) {
        served_.live().events(nextEvent_); // what was before is not for this page
    }
    ~PageStream() { served_.removeView(number_); }
    PageStream(const PageStream&) = delete;
    PageStream& operator=(const PageStream&) = delete;

    void run() {
        if (!send(RecordType::hello, {{"stream", number_}, {"revision", served_.revision()}})) {
            return;
        }
        std::uint64_t seen = 0;
        // What is small goes first: it need not wait for a picture's being taken.
        while (!served_.ending() && sendFeed() && sendEvents() && sendFrame() && sendStatistics()) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(nextStatistics_ - Clock::now());
            served_.feed().wait(seen, std::max(rest, 1ms));
        }
    }

  private:
    bool send(RecordType type, const Json& json, std::span<const std::uint16_t> data = {}) {
        return body_.write(record(type, json, data));
    }

    bool sendFrame() {
        const std::optional<host::LiveFrame> frame = served_.live().newest();
        if (!frame) {
            return true;
        }
        View wanted;
        {
            const std::lock_guard guard(view_->mutex);
            if (view_->credits == 0 || (frame->sequence == sent_ && !view_->repeat)) {
                return true;
            }
            --view_->credits;
            view_->repeat = false;
            wanted = view_->wanted;
        }
        sent_ = frame->sequence;
        const View view = fittingView(wanted, frame->frame.format());
        Json json = frameJson(*frame);
        json["view"] = {{"x", view.x},
                        {"y", view.y},
                        {"width", view.width},
                        {"height", view.height},
                        {"outWidth", view.outWidth},
                        {"outHeight", view.outHeight},
                        {"reduce", reductionName(view.reduce)}};
        const std::vector<std::uint16_t> values = reduce(frame->frame, view);
        return send(RecordType::frame, json, values);
    }

    /** Ends the stream of a reader that has missed something: with the next one it asks for everything anew. */
    bool sendFeed() {
        const std::optional<std::vector<Record>> records = served_.feed().take(position_);
        return records && std::ranges::all_of(*records, [this](const Record& one) { return send(one.type, one.json); });
    }

    bool sendEvents() {
        constexpr std::size_t most = 200; // a page shows no more; the rest is counted
        const std::vector<host::LiveEvent> events = served_.live().events(nextEvent_);
        if (events.empty()) {
            return true;
        }
        const std::size_t dropped = events.size() - std::min(events.size(), most);
        Json list = Json::array();
        for (std::size_t i = dropped; i < events.size(); ++i) {
            list.push_back(
                {{"name", events[i].name}, {"microseconds", static_cast<double>(events[i].nanoseconds) / 1e3}});
        }
        return send(RecordType::events, {{"events", list}, {"dropped", dropped}});
    }

    /** Twice a second; the histogram of large pictures more rarely, so that it takes little of the computer. */
    bool sendStatistics() {
        const Clock::time_point now = Clock::now();
        if (now < nextStatistics_) {
            return true;
        }
        nextStatistics_ = now + statisticsInterval;
        served_.refresh();
        const bool withHistogram = now >= nextHistogram_;
        const bool sent = send(RecordType::statistics, statisticsJson(served_, withHistogram));
        if (withHistogram) {
            constexpr int share = 20; // at most one part in so many of a core
            nextHistogram_ = now + std::min<Clock::duration>(share * (Clock::now() - now), 5s);
        }
        return sent;
    }

    ServedBoard& served_;
    BodyStream& body_;
    std::shared_ptr<void> look_;
    std::shared_ptr<ViewState> view_ = std::make_shared<ViewState>();
    std::uint64_t number_;
    std::uint64_t position_;
    std::uint64_t nextEvent_ = 0;
    std::uint64_t sent_ = 0;
    Clock::time_point nextStatistics_{};
    Clock::time_point nextHistogram_{};
};

std::uint64_t streamNumber(const Call& call) {
    std::uint64_t number = 0;
    for (const char digit : call.name) {
        if (digit < '0' || digit > '9' || number > 1'000'000'000) {
            throw ApiError(404, "There is no stream \"" + call.name + "\".");
        }
        number = number * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    return number;
}

} // namespace

Answer getStream(ServedBoard& served, const Call& /*call*/) {
    Answer answer{.head = {.contentType = "application/octet-stream"}};
    answer.stream = [&served](BodyStream& body) { PageStream(served, body).run(); };
    return answer;
}

Answer postView(ServedBoard& served, const Call& call) {
    const std::shared_ptr<ViewState> view = served.view(streamNumber(call));
    View wanted;
    const auto read = [&call](const char* key, std::int32_t& value) {
        value = static_cast<std::int32_t>(call.integer(key, 0, INT32_MAX, 0));
    };
    read("x", wanted.x);
    read("y", wanted.y);
    read("width", wanted.width);
    read("height", wanted.height);
    read("outWidth", wanted.outWidth);
    read("outHeight", wanted.outHeight);
    if (call.has("reduce") && !readReduction(call.string("reduce"), wanted.reduce)) {
        throw ApiError(400, R"("reduce" has to be nearest, mean or max.)");
    }
    {
        const std::lock_guard guard(view->mutex);
        view->wanted = wanted;
        view->repeat = true;
    }
    served.feed().notify();
    return {jsonResponse(Json::object())};
}

Answer postCredit(ServedBoard& served, const Call& call) {
    const std::shared_ptr<ViewState> view = served.view(streamNumber(call));
    {
        const std::lock_guard guard(view->mutex);
        view->credits = std::min(view->credits + 1, ViewState::mostFramesUnderWay);
    }
    served.feed().notify();
    return {jsonResponse(Json::object())};
}

} // namespace qelm::server
