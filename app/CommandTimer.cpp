// The batch tick; the batch run fills it in.
#include "app/CommandTimer.h"

namespace lvx {

void CCommandTimer::OnExecute(bool run) {
    if (!run)
        return;
}

} // namespace lvx
