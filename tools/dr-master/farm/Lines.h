#pragma once

#include <string>
#include <vector>

#include "farm/FarmView.h"

/// The news of a render as lines for people, without their line ends.
namespace Orvane::Lines {

std::string rate(const TransferNews& transfer);
std::string sceneSent(const TransferNews& news);
std::string imageTaken(const ImageNews& news);
std::string imageDamaged(const std::string& node, const std::string& file, const std::string& why);
std::string nodeLeftOut(const std::string& node, const Failure& why,
                        std::chrono::seconds untilRetry);
std::string frameEnded(const FrameNews& news);
std::string resultWritten(int images, std::optional<double> noise);
/// Of all frames, and what they took in all.
std::vector<std::string> table(const std::vector<FrameNews>& frames);

}  // namespace Orvane::Lines
