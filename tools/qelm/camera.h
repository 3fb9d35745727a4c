#pragma once

#include "session.h"
#include "verbs.h"

/** The virtual board's camera, and the pictures that come from it through the applet. */
namespace qelm::tool {

/** @throws std::runtime_error with what is wrong about the choice */
void connectCamera(const Session& session, const CameraChoice& choice);

/** Prints what the options of a camera are when "help" was asked for. @return whether it was */
bool showCameraHelp(const CommonOptions& options, const host::VirtualBoardFunctions& control,
                    const CameraChoice& choice);

/**
 * Starts the trigger unit, as an application does before it waits for pictures, unless one of the settings, of the
 * options or the verb's own, is about its state or the older parameter set is in force.
 */
void startTriggers(Session& session, const CommonOptions& options, const std::vector<std::string>& settings);

/** Memory for pictures, and an acquisition into it that ends with the object. */
class PictureStream {
  public:
    /** @throws AppletError */
    PictureStream(const host::VirtualBoardFunctions& control, const Session& session, size_t bytesPerPicture,
                  std::int64_t pictures);
    ~PictureStream();
    PictureStream(const PictureStream&) = delete;
    PictureStream& operator=(const PictureStream&) = delete;

    /** The number of the last picture that came, 0 at first. */
    std::int64_t last() const;
    /** Waits in virtual time. @return whether it came */
    bool wait(std::int64_t picture, std::int32_t seconds) const;
    /** A picture that has come and is still there. */
    const void* picture(std::int64_t number) const;

  private:
    const host::VirtualBoardFunctions& control_;
    const host::Board& board_;
    void* memory_;
};

} // namespace qelm::tool
