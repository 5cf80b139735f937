#include "support/system_call.h"

#include <string>
#include <system_error>

namespace support {

void ThrowSystemFailure(int error, std::string_view subject, std::string_view step) {
    std::string text(subject);
    text.append(": ").append(step);
    throw std::system_error(error, std::system_category(), text);
}

}  // namespace support
