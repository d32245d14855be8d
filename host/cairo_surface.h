#ifndef HOST_CAIRO_SURFACE_H_
#define HOST_CAIRO_SURFACE_H_

#include <cairo.h>

#include <memory>

#include "host/frame.h"

namespace host {

struct DestroyCairo {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using CairoSurface = std::unique_ptr<cairo_surface_t, DestroyCairo>;
using CairoContext = std::unique_ptr<cairo_t, DestroyCairo>;

/// An image of CAIRO_FORMAT_ARGB32, all of it transparent.
///
/// Failure  HostError: no memory, or larger than cairo can hold.
CairoSurface MakeSurface(int width, int height);

/// The frame as cairo takes it: 32-bit words in the machine's byte order, colours multiplied by alpha.
CairoSurface SurfaceOf(const Frame& frame);

/// Fills the rectangle with what stands behind a frame's transparent pixels: a dark, neutral grey, lighter
/// than the contact sheet around it, so that it is seen where the frame ends.
void PaintBackdrop(cairo_t* context, double x, double y, double width, double height);

/// Draws all of `image` into the rectangle.
void PaintScaled(cairo_t* context, cairo_surface_t* image, double x, double y, double width, double height);

}  // namespace host

#endif  // HOST_CAIRO_SURFACE_H_
