// What the program needs to raise an exception where there is no memory for one.
#pragma once

namespace zv {

/// Makes the language's reserve for exceptions usable. Before any other thread is started.
void PrepareExceptionReserve();

}  // namespace zv
