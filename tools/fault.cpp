#include "fault.h"

#include "escape.h"

CFault::CFault(ExitCode code, const std::string& place, const std::string& what, const std::string& help)
    : std::runtime_error((place.empty() ? "parvel" : EscapeBytes(place)) + ": " + what + (help.empty() ? "" : "; ") +
                         help),
      m_code(code) {}
