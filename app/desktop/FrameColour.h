#pragma once

class wxFrame;

namespace Orvane {

/// Gives a frame that holds controls directly the colour that is meant to lie behind controls.
void setFrameColour(wxFrame& frame);

}  // namespace Orvane
