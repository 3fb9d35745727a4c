#pragma once

#include "parameters/enumerations.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace qelm::parameters {

inline constexpr double doubleEpsilon = std::numeric_limits<double>::epsilon();

/** Access flags of a described parameter. */
namespace access {
inline constexpr std::int32_t readOnly = 1;
inline constexpr std::int32_t readWrite = 7;
} // namespace access

struct ParameterNode;

struct CategoryNode {
    std::string name;
    CategoryNode* parent; ///< null for the root
    std::vector<CategoryNode*> categories{};
    std::vector<ParameterNode*> parameters{};
};

/**
 * The description of one parameter. Limits and access follow the values of other parameters while readers look at
 * them without a lock, hence the atomics.
 */
struct ParameterNode {
    enum class Kind : std::uint8_t { integer, floatingPoint, enumeration, fileName };

    template <typename T>
    struct Range {
        std::atomic<T> minimum{};
        std::atomic<T> maximum{};
        T increment{};
    };

    Kind kind{};
    const CategoryNode* category{};
    std::string displayName{};
    std::string name{};
    std::int32_t id{};
    std::atomic<std::int32_t> access{};
    std::int32_t level = 1;
    std::string unit{};
    std::string filter{};               ///< of file names, e.g. "*.tif *.tiff"
    std::string description{};          ///< the registry's text
    Range<std::int64_t> integerRange{}; ///< of integers; 32 bits, signed or unsigned
    Range<double> floatRange{};         ///< of floating-point parameters
    std::vector<Enumerator> entries{};  ///< of enumerations; texts are the design's or static
};

/**
 * What user interfaces are told about the parameters: a tree of categories with a node per parameter. Built once at
 * start-up; setters then move limits and access.
 */
class Information {
  public:
    Information() : categories_{CategoryNode{"Root", nullptr}} {}

    CategoryNode& root() { return categories_.front(); }
    const CategoryNode& root() const { return categories_.front(); }

    CategoryNode& addCategory(CategoryNode& parent, std::string name);
    ParameterNode& addInteger(CategoryNode& category, std::string displayName, std::string name, std::int64_t minimum,
                              std::int64_t maximum, std::int64_t increment, std::int32_t access, std::int32_t level,
                              std::string unit, std::int32_t id);
    ParameterNode& addFloat(CategoryNode& category, std::string displayName, std::string name, double minimum,
                            double maximum, double increment, std::int32_t access, std::int32_t level, std::string unit,
                            std::int32_t id);
    ParameterNode& addEnumeration(CategoryNode& category, std::string displayName, std::string name,
                                  const Enumeration& enumeration, std::int32_t access, std::int32_t id);
    ParameterNode& addFileName(CategoryNode& category, std::string displayName, std::string name, std::string filter,
                               std::int32_t access, std::int32_t id);

    /** Adds the fixed parameters with their categories. */
    void addFixedParameters();

    /** @return the node of a parameter, or null */
    const ParameterNode* find(std::int32_t id) const;

    /* What setters move; a parameter without a node is ignored. */
    void setMaximum(std::int32_t id, std::int64_t maximum);
    void setFloatRange(std::int32_t id, double minimum, double maximum);
    void setAccess(std::int32_t id, std::int32_t access);

    /** A readable text about one parameter, kept until the next call; null when it has no node. */
    const char* describe(std::int32_t id);

  private:
    ParameterNode& add(ParameterNode::Kind kind, CategoryNode& category, std::string displayName, std::string name,
                       std::int32_t access, std::int32_t id);
    ParameterNode* findMutable(std::int32_t id);

    std::deque<CategoryNode> categories_; // the root first; a deque keeps addresses
    std::deque<ParameterNode> parameters_;
    std::map<std::int32_t, ParameterNode*> byId_;
    std::string described_;
};

} // namespace qelm::parameters
