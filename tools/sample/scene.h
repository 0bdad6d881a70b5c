// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_SAMPLE_SCENE_H
#define UPSCALER_TOOLS_SAMPLE_SCENE_H

#include "geometry.h"

namespace sample {

constexpr unsigned kSceneWidth = 960;
constexpr unsigned kSceneHeight = 540;

/// The colour of the landscape at a point, in pixels from the top left. Edges are hard: the picture
/// needs many points to a pixel.
Colour sceneAt(Point p);

}  // namespace sample

#endif  // UPSCALER_TOOLS_SAMPLE_SCENE_H
