// SPDX-License-Identifier: Apache-2.0
/// @file
/// Transparency, which the operations do not carry: scaled apart, as a grey picture.
#ifndef UPSCALER_TOOLS_PICTURES_ALPHA_H
#define UPSCALER_TOOLS_PICTURES_ALPHA_H

#include <cstddef>
#include <cstdint>

#include "pictures/picture.h"

namespace upscale {

/// Whether any pixel is less than opaque.
bool hasTransparency(const Picture& picture);
bool hasTransparency(const std::uint8_t* pixels, std::size_t count);

/// The alpha of a picture as the colour of an opaque grey one.
Picture alphaAsGrey(const Picture& picture);

/// Sets the alpha of a scaled picture.
/// @param grey the alpha, scaled like the colours. @param source the picture before it was scaled:
/// a
///     pixel all of whose nearest pixels there are opaque is opaque, whatever rounding did to it.
void setAlpha(Picture& picture, const Picture& grey, const Picture& source);

/// The colours of a picture times its alpha, opaque. What is hidden counts for nothing there, and
/// what is seen in part for as much as is seen of it.
Picture premultiplied(const Picture& picture);

/// The way back, in place, for a picture with its alpha. Colours of hidden pixels stay.
void dividePremultiplied(Picture& picture);

/// Gives every fully transparent pixel the mean colour of the visible ones that touch it, otherwise
/// black. Whoever filters the picture with straight alpha then finds no black at the edge of a
/// shape.
void colourHidden(Picture& picture);

/// Gives every fully transparent pixel the colour of the visible pixels nearest to it, so that an
/// operation that takes colours from the nearest pixel takes no hidden one. Alpha is untouched; a
/// picture without a visible pixel stays as it is.
void bleedColours(Picture& picture);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_ALPHA_H
