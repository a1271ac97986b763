// Opening a sky picture (FITS, PNG or JPEG) in the tool: placed on the sky as a quad model in a
// folder of its own, or, where it can't be placed, shown facing the view at the screen centre.
#pragma once

#include <string>

enum class ImageOpen {
  NotAnImage,      // not a FITS, PNG or JPEG file: opened as a model file as ever
  Placed,          // placed by its WCS, AVM or a blind solve
  AtScreenCentre,  // not placeable; a quad facing the view stands in the screen centre
  Failed           // not even its pixels could be read
};

// Writes the model of the picture at path into a fresh folder below TMPDIR (or /tmp), which
// stays until the process ends, and sets modelPath to it. The distance is the panel's
// distObjModel (1 when not positive) in the panel's unit where that is parsec, k-parsec,
// lightyear or meters, else in parsec; a picture with no WCS or AVM is solved blindly. The
// stand-in quad faces the current view's line of sight, half the field of view high.
// Prints on the standard output "placed [<path>] on the sky: [<model>]\n" when placed; on the
// standard error "Err : <why>; it opens at the screen centre, facing the view\n" for the stand-in,
// or "Err : <why>\n" when it fails. Never exits.
ImageOpen modelOfImage(const std::string& path, std::string& modelPath);

// After the export of the model to objPath: for an image model (isObjAnImage), writes the WCS
// that fits the exported corners as the FITS header file <stem>.fits and the AVM as <stem>.xmp.
// Prints on the standard output "wrote the WCS of [<obj>] to [<fits>] and [<xmp>]: fit residual
// <a> arcsec at the corners, <b> arcsec inside the quad\n"; on the standard error
// "Err : [<obj>] is not an image model, so it has no WCS\n" or "Err : <why>\n" (the reasons of
// place::writeWcsOfModel). Returns 1 when both files are written, -1 otherwise. Never exits.
int exportWcsOfImage(const std::string& objPath);
