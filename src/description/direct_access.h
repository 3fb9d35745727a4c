#pragma once

#include "description/information.h"
#include "parameters/registry.h"
#include "persistence/settings_store.h"
#include "vendor/nuvrak5.h"

#include <cstdint>
#include <functional>

/**
 * Direct access for diagnosis: a "DRA_" parameter for every register of the design image, and a "DZEA_" parameter for
 * every design parameter that the settings select.
 */
namespace qelm::description::direct_access {

/** The largest value of a register with that many bits. */
std::uint64_t largestOfWidth(std::uint32_t bits);

/** @param designImage of the design image loader */
void registerRegisters(parameters::Registry& registry, void* designImage);
void describeRegisters(Information& information, void* designImage);

/**
 * Adds to the settings' section what it does not mention: every selectable design parameter, switched on.
 * @param tree the root of the design parameter tree, or null
 */
void addDefaultSelection(persistence::SettingsStore& settings, const DesignNode* tree);
/**
 * Registers the selected design parameters in the order of the settings' section.
 * @param resolve gives the identifier of a design parameter by name; 0 when unknown, which is then left out
 */
void registerDesignParameters(parameters::Registry& registry, const persistence::SettingsStore& settings,
                              const std::function<std::int32_t(const char* name)>& resolve);
/** Describes those of the tree's design parameters that are registered, each group of the tree as a category. */
void describeDesignParameters(Information& information, const parameters::Registry& registry, const DesignNode* tree);

} // namespace qelm::description::direct_access
