#include "OrvaneCore/ConsoleText.h"

namespace Orvane {

ConsoleText::ConsoleText() = default;
ConsoleText::~ConsoleText() = default;

}  // namespace Orvane
