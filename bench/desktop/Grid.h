// The places of the windows of both programs: side by side, so that none is moved and all are painted completely.
#pragma once

#include <windows.h>

constexpr int kGridColumns = 11;
constexpr int kGridRows = 10;
constexpr LONG kGridStep = 270;
constexpr LONG kNoteExtent = 260;  // width and height

// The cells repeat after the last one.
inline POINT gridCell(int number) {
    const int cell = number % (kGridColumns * kGridRows);
    return {cell % kGridColumns * kGridStep, cell / kGridColumns * kGridStep};
}

// The texts that both programs show.
#define VELLUM_BENCH_TITLE TEXT("Shopping list")
#define VELLUM_BENCH_BODY                                                           \
    TEXT("Bread, two litres of milk, and the small screws for the shelf.\r\nCall ") \
    TEXT("the workshop before noon.\r\nThe parcel is at the neighbours'.")
#define VELLUM_FLOOR_CLASS TEXT("Vellumd.Floor")
