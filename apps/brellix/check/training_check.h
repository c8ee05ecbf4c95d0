#pragma once

/// \file
/// What a network was trained for against how the model feeds and decodes it.

#include "config/model_config_check.h"

namespace brellix::app {

/// Appends whether the anchors are the ones that the cut detector decodes with. Nothing for other models:
/// their networks carry their own.
void judgeAnchors(const CheckedConfig& checked, Findings& findings);

/// Appends whether the network takes the channels in the order in which the model feeds them.
void judgeChannelOrder(const CheckedConfig& checked, Findings& findings);

}  // namespace brellix::app
