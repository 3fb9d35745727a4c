#pragma once

#include "serve/router.h"
#include "serve/served_board.h"

/** The functions behind the routes, a source for each area of the API. */
namespace qelm::server {

Answer getBoard(ServedBoard& served, const Call& call);
Answer postTime(ServedBoard& served, const Call& call);
Answer postAcquisition(ServedBoard& served, const Call& call);
Answer getStatistics(ServedBoard& served, const Call& call);

Answer getParameters(ServedBoard& served, const Call& call);
Answer getParameter(ServedBoard& served, const Call& call);
Answer postParameters(ServedBoard& served, const Call& call);
Answer postReset(ServedBoard& served, const Call& call);

Answer getSnapshot(ServedBoard& served, const Call& call);
Answer getPixel(ServedBoard& served, const Call& call);
Answer getProfile(ServedBoard& served, const Call& call);
Answer getHistogram(ServedBoard& served, const Call& call);
Answer postRecord(ServedBoard& served, const Call& call);
Answer getJpegStream(ServedBoard& served, const Call& call);
Answer getPngStream(ServedBoard& served, const Call& call);

Answer getStream(ServedBoard& served, const Call& call);
Answer postView(ServedBoard& served, const Call& call);
Answer postCredit(ServedBoard& served, const Call& call);

Answer postPulses(ServedBoard& served, const Call& call);
Answer postTrigger(ServedBoard& served, const Call& call);
Answer getSignals(ServedBoard& served, const Call& call);
Answer getSignalsPicture(ServedBoard& served, const Call& call);

Answer getLut(ServedBoard& served, const Call& call);
Answer postLut(ServedBoard& served, const Call& call);
Answer getLutFile(ServedBoard& served, const Call& call);
Answer putLutFile(ServedBoard& served, const Call& call);

Answer postBlack(ServedBoard& served, const Call& call);
Answer postGray(ServedBoard& served, const Call& call);
Answer postCompute(ServedBoard& served, const Call& call);
Answer getShadingMap(ServedBoard& served, const Call& call);
Answer postShadingOff(ServedBoard& served, const Call& call);

Answer getConfiguration(ServedBoard& served, const Call& call);
Answer postConfigurationCheck(ServedBoard& served, const Call& call);
Answer putConfiguration(ServedBoard& served, const Call& call);

Answer getCamera(ServedBoard& served, const Call& call);
Answer postCamera(ServedBoard& served, const Call& call);
Answer putScene(ServedBoard& served, const Call& call);

/* Shared by several areas. */

Json timeJson(const host::Pace& pace);
Json histogramJson(const host::LiveFrame& frame, const Histogram& histogram);
/** Of the newest frame, the board and its time; without a frame less. */
Json statisticsJson(ServedBoard& served, bool withHistogram);
Json frameJson(const host::LiveFrame& frame);
Json changeJson(const ServedBoard::Change& change);
/** An answer with a file's bytes. @throws FileError */
Answer fileAnswer(const std::filesystem::path& file, const std::string& contentType, const std::string& name);

} // namespace qelm::server
