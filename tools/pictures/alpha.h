// SPDX-License-Identifier: Apache-2.0
/// @file
/// Transparency, which the operations do not carry: scaled apart, as a grey picture.
#ifndef UPSCALER_TOOLS_PICTURES_ALPHA_H
#define UPSCALER_TOOLS_PICTURES_ALPHA_H

#include "pictures/picture.h"

namespace upscale {

/// Whether any pixel is less than opaque.
bool hasTransparency(const Picture& picture);

/// The alpha of a picture as the colour of an opaque grey one.
Picture alphaAsGrey(const Picture& picture);

/// Sets the alpha of a picture from the colour of a grey one of the same size.
void setAlpha(Picture& picture, const Picture& grey);

/// Gives every fully transparent pixel the colour of the visible pixels nearest to it, so that a
/// filter that reads across the edge of a shape mixes in no hidden colour. Alpha is untouched; a
/// picture without a visible pixel stays as it is.
void bleedColours(Picture& picture);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_ALPHA_H
