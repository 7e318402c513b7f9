#pragma once

namespace tallowfern::engines {

/// How much of its 30 s window the encoder looks at for so many seconds of sound, in its units of 20 ms; 0 is all of
/// it. The encoder's work grows with it. Fitted up to 10 s, where the words stay the same (tests/engines/contract.py).
int fittedEncoderContext(double seconds);

} // namespace tallowfern::engines
