// The image at the left of a title bar.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

#include "common/Handles.h"
#include "window/NoteLayout.h"

// An image of GDI+; lives in memory that GDI+ gives.
struct LogoImage {
    Gdiplus::GpImage* image = nullptr;
};

void disposeLogo(LogoImage* logo);
using Logo = Guard<ValueTraits<LogoImage*, disposeLogo>>;

// The image that the `logo` of a note stands for: a file of `folder`, which may be empty, or the text itself. None,
// with a line in the log where it was meant to be one, when there is no such image. `id` is the note's, for the log.
Logo loadLogoImage(const WideString& folder, const WideString& logo, const WideString& id);

// 0 by 0 without an image, and when its size cannot be read.
Size sizeOf(const Logo& logo);
