#pragma once

#include "qelm/host/board.h"

#include <string>

/** The camera that a virtual board is connected to. */
namespace qelm::host {

/** What a camera has to be for a board. */
struct CameraMatch {
    std::string options;  ///< as virtualBoardConnectCamera takes them
    std::string mismatch; ///< what camera and board disagree about, both sides named; empty when they agree
};

/**
 * The options of the camera to connect. Without any, and for "match", size, taps and bits are those that the board is
 * set to; what follows "match," is added. @throws AppletError when the settings cannot be read
 */
CameraMatch matchCamera(const Board& board, const std::string& options);

/**
 * Connects a camera in place of the one before.
 *
 * @param options as virtualBoardCameraHelp tells them
 * @param scene a built-in chart or the name of a picture file, in UTF-8; empty for the test chart
 * @throws std::runtime_error with what is wrong about them; std::logic_error where there is no virtual board
 */
void connectCamera(const Board& board, const std::string& options, const std::string& scene);

} // namespace qelm::host
