#include "ui/kit/DrawingContext.h"

namespace zv {

DrawingContext& Drawing() {
    static DrawingContext context;
    return context;
}

}  // namespace zv
