#pragma once

#include "parameters/row.h"
#include "platform/critical_section.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qelm::description {

/** Access flags of a described parameter: bit value 1 read, 2 write, 4 third access bit. */
namespace access {
inline constexpr std::int32_t read = 1;
inline constexpr std::int32_t write = 2;
inline constexpr std::int32_t readOnly = 1;
inline constexpr std::int32_t readWrite = 7;
} // namespace access

/** The categories of direct access. */
inline constexpr const char* directRegisterCategory = "Direct Register Access";
inline constexpr const char* directDesignCategory = "Direct ZE Access";

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
    enum class Kind : std::uint8_t {
        integer,     ///< 32 bits, signed or unsigned
        wideInteger, ///< 64 bits, unsigned
        floatingPoint,
        enumeration,
        fileName,
        text,
    };

    template <typename T>
    struct Range {
        std::atomic<T> minimum{};
        std::atomic<T> maximum{};
        T increment{};
    };

    struct Entry {
        std::string text; ///< what user interfaces show; at most 255 bytes
        std::int32_t value;
        std::string name; ///< symbolic name
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
    Range<std::int64_t> integerRange{}; ///< of integers
    Range<std::uint64_t> wideRange{};   ///< of wide integers
    Range<double> floatRange{};         ///< of floating-point parameters
    std::vector<Entry> entries{};       ///< of enumerations
    std::uint32_t elementCount = 0;     ///< elements that an index selects among; 0 for a plain value
};

/**
 * What user interfaces show of the parameters: a tree of categories with a node per parameter. Built once at
 * start-up; setters then move limits and access. Texts may come in any encoding and are kept as UTF-8.
 */
class Information {
  public:
    Information() : categories_{CategoryNode{"Root", nullptr}} {}
    ~Information() noexcept = default; // the lock inside throws when it is held, which nobody does then

    CategoryNode& root() { return categories_.front(); }
    const CategoryNode& root() const { return categories_.front(); }
    /** Every category in the order in which they were added, the root first. */
    const std::deque<CategoryNode>& categories() const { return categories_; }

    CategoryNode& addCategory(CategoryNode& parent, std::string_view name);
    ParameterNode& addInteger(CategoryNode& category, std::string_view displayName, std::string_view name,
                              std::int64_t minimum, std::int64_t maximum, std::int64_t increment, std::int32_t access,
                              std::int32_t level, std::string_view unit, std::int32_t id);
    ParameterNode& addWideInteger(CategoryNode& category, std::string_view displayName, std::string_view name,
                                  std::uint64_t minimum, std::uint64_t maximum, std::uint64_t increment,
                                  std::int32_t access, std::int32_t level, std::string_view unit, std::int32_t id);
    ParameterNode& addFloat(CategoryNode& category, std::string_view displayName, std::string_view name, double minimum,
                            double maximum, double increment, std::int32_t access, std::int32_t level,
                            std::string_view unit, std::int32_t id);
    /** An enumeration without entries; addEntry offers one more at a time. */
    ParameterNode& addEnumeration(CategoryNode& category, std::string_view displayName, std::string_view name,
                                  std::int32_t access, std::string_view unit, std::int32_t id);
    ParameterNode& addFileName(CategoryNode& category, std::string_view displayName, std::string_view name,
                               std::string_view filter, std::int32_t access, std::int32_t id);
    ParameterNode& addText(CategoryNode& category, std::string_view displayName, std::string_view name,
                           std::int32_t access, std::int32_t id);
    static void addEntry(ParameterNode& enumeration, std::string_view text, std::int32_t value, std::string_view name);

    /** Adds the fixed parameters with their categories. */
    void addFixedParameters();

    /** @return the node of a parameter, or null */
    const ParameterNode* find(std::int32_t id) const;

    /* What setters move; a parameter without a node is ignored. */
    void setMaximum(std::int32_t id, std::int64_t maximum);
    void setFloatRange(std::int32_t id, double minimum, double maximum);
    void setAccess(std::int32_t id, std::int32_t access);

    /**
     * All that is known about one parameter, a line "Key: value" for each fact; null when it has no node. Any number of
     * threads may ask. A text stays as it is as long as this object, whatever is told later: readers hold no lock.
     */
    const char* describe(std::int32_t id);

  private:
    ParameterNode& add(ParameterNode::Kind kind, CategoryNode& category, std::string_view displayName,
                       std::string_view name, std::int32_t access, std::int32_t level, std::string_view unit,
                       std::int32_t id);
    void addFixedParameter(CategoryNode& category, const parameters::Row& row);
    ParameterNode* findMutable(std::int32_t id);

    std::deque<CategoryNode> categories_; // the root first; a deque keeps addresses
    std::deque<ParameterNode> parameters_;
    std::map<std::int32_t, ParameterNode*> byId_;
    templates::platform::CriticalSection handedOutLock_;
    std::set<std::string> handedOut_ QELM_GUARDED_BY(handedOutLock_);
};

} // namespace qelm::description
