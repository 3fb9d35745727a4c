#pragma once

#include "model/acquisition/acquisition.h"
#include "model/acquisition/signal_log.h"
#include "model/codes.h"
#include "model/design.h"
#include "model/image_file.h"
#include "model/runtime_parameters.h"
#include "model/trigger_unit.h"
#include "virtual_board.h"

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

/**
 * One board: the values of its design, its registers and the runtime's parameters for it. Every operation takes the
 * board's lock. A closed board keeps its place as long as a runtime handle refers to it and answers -2001.
 *
 * Operations that a vendor library serves name the design that their caller knows; a board that holds another one by
 * now answers -2001 instead of mistaking places.
 */
struct VirtualBoard {
  public:
    using Design = qelm::virtual_board::Design;
    using DesignParameter = qelm::virtual_board::DesignParameter;
    using FrameMemory = qelm::virtual_board::FrameMemory;

    explicit VirtualBoard(std::shared_ptr<const Design> design);

    /** Gives everything back that the board holds. */
    void close();
    /** Loads a design. The one that the board already runs is left running, with its values. */
    std::int32_t load(const std::shared_ptr<const Design>& design);
    std::shared_ptr<const Design> design();

    // As the runtime and the register library reach it: access, kind and limits apply.
    std::int32_t setWord(const Design&, const DesignParameter&, std::uint32_t value);
    std::int32_t setNumber(const Design&, const DesignParameter&, double value);
    std::int32_t setText(const Design&, const DesignParameter&, const char* value);
    std::int32_t setElements(const Design&, const DesignParameter&, std::uint32_t start, std::uint32_t count,
                             const std::uint32_t* values);
    std::int32_t getWord(const Design&, const DesignParameter&, std::uint32_t& value);
    std::int32_t getNumber(const Design&, const DesignParameter&, double& value);
    std::int32_t getText(const Design&, const DesignParameter&, char* value);
    std::int32_t getElements(const Design&, const DesignParameter&, std::uint32_t start, std::uint32_t count,
                             std::uint32_t* values);
    std::int32_t setRuntime(const qelm::virtual_board::RuntimeParameter&, std::uint32_t value);
    std::int32_t getRuntime(const qelm::virtual_board::RuntimeParameter&, std::uint32_t& value);
    std::int32_t writeRegister(std::uint32_t address, std::uint64_t value);
    std::int32_t readRegister(std::uint32_t address, std::uint64_t& value);

    // As the hardware itself would: nothing is refused but what does not exist.
    std::int32_t peek(const char* name, std::uint32_t index, std::uint32_t& value);
    std::int32_t poke(const char* name, std::uint32_t index, std::uint32_t value);
    const char* peekText(const char* name);
    std::int32_t peekRegister(const char* name, std::uint64_t& value);
    std::int32_t pokeRegister(const char* name, std::uint64_t value);
    std::int32_t pokeRuntime(const qelm::virtual_board::RuntimeParameter&, std::uint32_t value);
    std::int32_t pulseCount(const char* name, std::uint64_t& pulses);
    std::int32_t coefficients(std::uint32_t buffer, const std::uint16_t*& pixels, std::int32_t& width,
                              std::int32_t& height);

    // The trigger unit, in virtual time.
    std::int32_t setInput(std::uint32_t pin, bool level);
    std::int32_t advance(std::uint64_t nanoseconds);
    std::int32_t time(std::uint64_t& nanoseconds);
    std::int32_t cameraControl(std::uint32_t line, qelm::virtual_board::TriggerUnit::Line& state);
    std::int32_t triggerOutput(std::uint32_t line, qelm::virtual_board::TriggerUnit::Line& state);
    std::int32_t recordEvents(bool record);
    std::int32_t eventCount(std::size_t& count);
    std::int32_t eventAt(std::size_t place, VirtualBoardEvent& event);
    std::int32_t recordSignals(bool record);
    std::int32_t signalChangeCount(std::size_t& count);
    std::int32_t signalChangeAt(std::size_t place, VirtualBoardSignalChange& change);

    // Pictures.
    std::int32_t connectCamera(std::shared_ptr<const qelm::virtual_board::Camera> camera);
    std::int32_t setTransferRate(std::uint64_t bytesPerSecond);
    std::int32_t acquire(const Design&, const std::shared_ptr<FrameMemory>& memory, std::int64_t pictures);
    std::int32_t stopAcquiring(const Design&, const std::shared_ptr<FrameMemory>& memory);
    /** Ends an acquisition into this memory, if one runs. */
    void forget(const std::shared_ptr<FrameMemory>& memory);
    /** @return the number of the last picture, or a code */
    std::int64_t lastPicture(const Design&, const std::shared_ptr<FrameMemory>& memory);
    std::int64_t waitForPicture(const Design&, const std::shared_ptr<FrameMemory>& memory, std::int64_t picture,
                                std::int32_t seconds);
    std::int32_t losses(VirtualBoardLosses& losses);
    std::int64_t acquisitionStatus(const Design&, std::int32_t parameter);
    std::int32_t picture(const FrameMemory& memory, std::int64_t number, const void*& bytes, std::size_t& size);
    std::int32_t frameInfo(const FrameMemory& memory, std::int64_t number, VirtualBoardFrameInfo& info);

  private:
    /** What work() answers: a code, or a count of 64 bits. */
    template <typename Work>
    using Answer = std::common_type_t<std::int32_t, std::invoke_result_t<Work>>;
    template <typename Work>
    Answer<Work> whileOpen(Work&& work);
    template <typename Work>
    Answer<Work> whileHolding(const Design& design, Work&& work);
    /** The word that `name` and `index` stand for, or null. */
    std::uint32_t* wordNamed(const char* name, std::uint32_t index);
    std::uint64_t* registerValue(const qelm::virtual_board::DesignRegister* entry);
    void powerOn(std::shared_ptr<const Design> design);
    std::int32_t pulse(const DesignParameter& command);
    std::int32_t loadCoefficients(const DesignParameter& command);
    /** A word was written: the parts of the design that act on their own follow. */
    void written(const DesignParameter& parameter);
    const std::uint64_t* registerNamed(const char* name);
    /** Lets virtual time pass; ends early when `isDone` says so. */
    template <typename IsDone>
    void passTime(std::uint64_t nanoseconds, IsDone&& isDone);
    void seeSignals();
    /** Of a parameter that the runtime serves and only reads. */
    void setStatus(std::int32_t id, std::uint32_t value);

    std::mutex mutex_;
    std::shared_ptr<const Design> design_; // null once closed
    std::vector<std::uint32_t> words_;
    // There while a design is.
    std::optional<qelm::virtual_board::EventLog> events_;
    std::optional<qelm::virtual_board::DesignWords> designWords_;
    std::optional<qelm::virtual_board::TriggerUnit> trigger_;
    std::optional<qelm::virtual_board::Acquisition> acquisition_;
    std::shared_ptr<const qelm::virtual_board::Camera> camera_; // stays when a design is loaded
    qelm::virtual_board::SignalLog signals_;
    qelm::virtual_board::SimulatorControl simulator_;
    std::vector<double> numbers_;
    std::vector<std::string> texts_;
    std::vector<std::uint64_t> pulses_; // by the slot of the command's word
    std::vector<std::uint64_t> registers_;
    std::array<std::uint32_t, qelm::virtual_board::runtimeParameterCount> runtimeValues_{};
    qelm::virtual_board::CoefficientPlanes coefficients_;
};

template <typename Work>
VirtualBoard::Answer<Work> VirtualBoard::whileOpen(Work&& work) {
    const std::lock_guard guard(mutex_);
    return design_ ? work() : static_cast<std::int32_t>(qelm::virtual_board::invalidBoard);
}

template <typename Work>
VirtualBoard::Answer<Work> VirtualBoard::whileHolding(const Design& design, Work&& work) {
    const std::lock_guard guard(mutex_);
    return design_.get() == &design ? work() : static_cast<std::int32_t>(qelm::virtual_board::invalidBoard);
}
