// The rounding step of a conversion: rounds the chosen corners, then blurs the chosen edges.
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"
#include "image/LengthValue.h"
#include "image/RoundSettings.h"
#include "resources/StringIds.h"

// Runs once per conversion on the worker thread, or on the main thread for the preview. The
// fields from backgroundColor to blurWidth are a copy of RoundSettings; the background fields
// are read by the background fill, not here. Failures are kept as a string-table id and a code;
// the step throws nothing of its own.
class CRoundStep {
public:
    CDibPtr source; // read only
    u32 backgroundColor = 0xFFFFFF;
    bool transparent = false;
    u32 corners = cornerbit::kAll;
    u32 edges = edgebit::kAll;
    LengthValue radius{lengthunit::kPixels, 100, 50};
    LengthValue blurWidth{lengthunit::kPixels, 10, 10};
    u32 errorId = 0;
    u32 errorCode = 0;
    CDibPtr result; // empty on failure

    // Copies the settings record into the step's fields, and back.
    void SetSettings(const RoundSettings& settings);
    RoundSettings Settings() const;

    // Resolves the radius and the blur width against `source`, rounds a copy and blurs it with
    // the same corners and radius. On success `result` holds the blurred image; on failure
    // errorId and errorCode are set and `result` stays empty.
    void Run();
};
