#pragma once

#include "description/information.h"

#include <string>
#include <string_view>

namespace qelm::description {

/**
 * Writes the parameter information as a GenApi 1.0 register description. A parameter is a feature over a register
 * whose address is the parameter's identifier. Parameters of the category of direct registers are left out.
 *
 * A builder is for one document. Limits and access may move while it writes: each is written as it stands then.
 */
class ParameterInfoBuilderXML {
  public:
    /** @param modelName the applet's name */
    ParameterInfoBuilderXML(const Information& information, std::string_view modelName);

    /** The document as UTF-8. */
    std::string build();

  private:
    using Node = ParameterNode;

    /* Parts of the document, in its order. */
    void writeOpening();
    void writeFeatures();
    void writeCategory(const CategoryNode& category);
    void writeClosing();

    void writeNode(const Node& node);
    void writeInteger(const Node& node);
    void writeFloat(const Node& node);
    void writeEnumeration(const Node& node);
    void writeStringRegister(const Node& node);

    void writeDescription(const Node& node);
    void writeSelector(const Node& node);
    void writeCommonRegisterFields(const Node& node, std::uint32_t length);

    template <typename... Pieces>
    void write(const Pieces&... pieces);

    const Information& information_;
    std::string_view modelName_;
    std::string document_;
    std::string name_; // of the node being written, escaped
};

} // namespace qelm::description
