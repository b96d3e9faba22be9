// The logo: the image at the left end of a title bar.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

#include "common/Handles.h"
#include "window/NoteLayout.h"

// Owns a GDI+ image. Allocated with GdipAlloc.
struct LogoImage {
    Gdiplus::GpImage* image = nullptr;
};

void disposeLogo(LogoImage* logo);
using Logo = Guard<ValueTraits<LogoImage*, disposeLogo>>;

// Loads the image that the `logo` member of a note means: a file in `folder`, which may be empty, or base64 text. Empty
// when there is no such image; a value that is neither a file nor an image is logged with the note's `id`.
Logo loadLogoImage(const WideString& folder, const WideString& logo, const WideString& id);

// The size in pixels; 0 by 0 without an image, and when the size cannot be read.
Size sizeOf(const Logo& logo);
