// The five fonts of the interface, created at the start and deleted at the exit.
#pragma once

#include "platform/Canvas.h"
#include "ui/kit/DrawingContext.h"

namespace zv {

void CreateFonts();
void DeleteFonts();

/// Returns the body font for one that could not be created, and null if that is missing too.
const Font* FontOf(FontRole role);

}  // namespace zv
