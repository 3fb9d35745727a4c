#pragma once

#include "session.h"
#include "verbs.h"

/** The virtual board's camera, and the pictures that come from it through the applet. */
namespace qelm::tool {

/** @throws std::runtime_error with what is wrong about the choice */
void connectCamera(const Session& session, const CameraChoice& choice);

/** What the options of a camera are: lines of key, what is allowed and meaning, two blanks or more between them. */
std::string cameraHelp(const host::VirtualBoardFunctions& control);
/** Prints that when "help" was asked for. @return whether it was */
bool showCameraHelp(const CommonOptions& options, const host::VirtualBoardFunctions& control,
                    const CameraChoice& choice);

/**
 * Starts the trigger unit, as an application does before it waits for pictures, unless one of the settings, of the
 * options or the verb's own, is about its state or the older parameter set is in force.
 */
void startTriggers(Session& session, const CommonOptions& options, const std::vector<std::string>& settings);

} // namespace qelm::tool
