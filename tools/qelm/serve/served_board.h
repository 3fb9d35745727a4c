#pragma once

#include "calibration.h"
#include "output.h"
#include "serve/feed.h"
#include "serve/view.h"
#include "session.h"

#include "qelm/host/live_board.h"
#include "qelm/host/values.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qelm::server {

/** What a page looks at, and how many frames are on their way to it. */
struct ViewState {
    static constexpr int mostFramesUnderWay = 2;

    std::mutex mutex;
    View wanted{};
    bool repeat = false; ///< the newest frame is sent once more: it is wanted otherwise now
    int credits = mostFramesUnderWay;
};

/** What the shading correction is computed from; of the board's thread. */
struct References {
    std::optional<tool::Average> black, gray;
};

/**
 * A live board with what belongs to its server: what its parameters were at the start and are now, the feed of the
 * pages, the camera's choice, and a folder for files that were sent. All functions may be called from any thread.
 */
class ServedBoard {
  public:
    /** Takes over the session's board, to which `camera` is connected, and begins to acquire. @throws AppletError */
    ServedBoard(tool::Session&& session, const tool::CameraChoice& camera);

    const host::Applet& applet() const { return session_.board().applet(); }
    const host::VirtualBoardFunctions& control() const { return *applet().virtualBoard(); }
    /** Within commands of the board's thread alone. */
    tool::Session& session() { return session_; }
    host::LiveBoard& live() { return live_; }
    Feed& feed() { return feed_; }
    /** A new file name in the run's private folder that ends so. */
    std::filesystem::path newFile(const std::string& ending);

    /** A parameter as it is now, as JSON. @throws ApiError 404 for an unknown name */
    Json parameter(const std::string& name);
    Json parameters();
    std::uint64_t revision() const { return revision_; }

    /** What a change came to. */
    struct Change {
        Json changed;                    ///< the parameters that are not as they were
        std::vector<std::string> writes; ///< what reached the design
    };
    /**
     * Runs something that may change the board, and tells every page what it came to, also when it throws.
     *
     * @param origin what it was, for the pages: "set FG_WIDTH"
     */
    Change change(const std::string& origin, const std::function<void(host::Board&)>& command);
    /** Makes settings in their order; when one is refused those before it are taken back. @throws ApiError */
    Change set(const std::vector<std::pair<std::string, Json>>& settings);
    /** Parameters back to what they were at the start. */
    Change reset(const std::vector<std::string>& names);
    /** Tells the pages what the board has changed by itself. */
    void refresh();

    tool::CameraChoice camera() const;
    /** The choice, the options that it came to, and as "warning" what does not fit between camera and settings. */
    Json cameraJson();
    /** One that matches the settings follows them from then on. @throws ApiError with what is wrong about the choice */
    void connectCamera(const tool::CameraChoice& choice);
    /** The file that was sent as a scene, by the name that a choice has for it: "upload:NAME". */
    void addScene(const std::string& name, const std::filesystem::path& file);
    void removeScene(const std::string& name);
    std::vector<std::string> uploadedScenes() const;

    References& references() { return references_; }
    /** Counts the takes of references, so that each gets frames of its own. */
    std::uint64_t nextTake() { return ++takes_; }

    /** The newest frame. @throws ApiError 409 when none has come yet */
    host::LiveFrame newestFrame() const;
    /** The next frames, none left out; time passes meanwhile. @throws ApiError 409 when they do not come */
    std::vector<host::Frame> collect(std::size_t count);
    /** Of the frame; computed once for everybody who asks. */
    std::shared_ptr<const Histogram> histogram(const host::LiveFrame& frame);

    std::uint64_t addView(const std::shared_ptr<ViewState>& view);
    void removeView(std::uint64_t number);
    /** @throws ApiError 404 for a stream that has ended */
    std::shared_ptr<ViewState> view(std::uint64_t number) const;

    /** Ends the streams. */
    void end() { ending_ = true; }
    bool ending() const { return ending_; }

  private:
    struct Known {
        host::Parameter parameter;
        std::optional<host::Value> value;
        bool operator==(const Known& other) const;
    };

    /** On the board's thread. */
    Known readNow(const host::Parameter& parameter) const;
    Json json(const Known& known) const;
    /** Of known_. @throws ApiError 404 with the nearest name */
    const Known& find(const std::string& name) const;
    /** On the board's thread: compares with what was known, keeps what is now. */
    Json takeChanges();
    /** Likewise, and tells the pages. */
    void publishChanges();
    host::Value valueOf(const host::Parameter& parameter, const Json& json) const;
    /** On the board's thread. @param options matched already @throws ApiError */
    void connect(const std::string& options, const std::string& scene);
    /** The scene's name, of one that was sent its file's. */
    std::string fileOf(const std::string& scene) const;
    /** On the board's thread: a camera that matches the settings goes with them. */
    void followSettings();

    tool::Session session_; // of the board's thread
    Feed feed_;
    host::LiveBoard live_;
    std::atomic<std::uint64_t> revision_ = 0;
    std::atomic<std::uint64_t> files_ = 0;
    std::atomic<bool> ending_ = false;
    std::vector<Known> known_; // of the board's thread, as are the next ones
    std::string connected_;    // the camera's options, matched
    References references_;
    std::uint64_t takes_ = 0;
    std::map<std::string, std::optional<host::Value>> start_;

    mutable std::mutex mutex_; // guards what follows
    tool::CameraChoice camera_;
    std::map<std::string, std::filesystem::path> scenes_;
    std::map<std::uint64_t, std::weak_ptr<ViewState>> views_;
    std::uint64_t nextView_ = 1;
    std::mutex histogramMutex_;
    std::uint64_t histogramSequence_ = 0;
    std::shared_ptr<const Histogram> histogram_;
};

} // namespace qelm::server
