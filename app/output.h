#pragma once

namespace tarn {

// Writes ResultText to standard output byte for byte: no line end, separator or code added.
void WriteResultText();

}  // namespace tarn
