#include "platform/locale.h"

#include <clocale>

namespace qelm::platform {

void useEnglishLocale() {
    if (std::setlocale(LC_ALL, "English") == nullptr) {
        std::setlocale(LC_ALL, "C");
    }
}

} // namespace qelm::platform
