#pragma once

namespace qelm::tool {

/** Prints the reference of the fixed parameters, with their widest limits, as Markdown: docs/parameters.md. */
void printMarkdownReference();

} // namespace qelm::tool
