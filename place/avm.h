// AVM, the astronomy visualization metadata that press images carry in their XMP packet: read
// into a WCS for placing, and written as an XMP sidecar from a fitted TAN WCS.
#pragma once

#include <string>

#include "place/tanwcs.h"

namespace place {

// The XML namespace of the AVM properties.
inline constexpr const char* kAvmNamespace = "http://www.communicatingastronomy.org/avm/1.0/";

// Reads the AVM of the PNG or JPEG at path, an image of width by height pixels, into wcs.
// Uses Spatial.ReferenceValue, ReferencePixel, Scale and Rotation (Rotation 0 where absent),
// or Spatial.CDMatrix where present; CoordinateFrame (ICRS where absent) with Equinox;
// CoordsystemProjection (TAN where absent); and ReferenceDimension, the size the values refer
// to, which rescales them to the real size of a smaller or larger copy. Returns false with err:
//   "[<path>] has no AVM"                       no XMP packet, or no Spatial property in it
//   "[<path>] has an incomplete AVM: no <property>"
//   "[<path>] has a broken AVM: <property> is not <what it should be>"
// Prints nothing.
bool readAvmFile(const std::string& path, int width, int height, Wcs& wcs, std::string& err);

// The same from the text of an XMP packet (a sidecar file's contents); name is used in err.
bool readAvmPacket(const std::string& packet, const std::string& name, int width, int height, Wcs& wcs,
                   std::string& err);

// Writes the AVM of t as an XMP sidecar file at path: ICRS, TAN, the reference value, pixel and
// dimension, Scale and Rotation, and the CD matrix, with notes in Spatial.Notes. Returns false
// with err "cannot write [<path>]" on failure; prints nothing.
bool writeAvmSidecar(const std::string& path, const TanWcs& t, const std::string& notes, std::string& err);

}  // namespace place
