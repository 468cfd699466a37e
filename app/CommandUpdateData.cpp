// The update from the controls; the view's controls fill it in.
#include "app/CommandUpdateData.h"

namespace lvx {

void CCommandUpdateData::OnExecute(bool run) {
    if (!run)
        return;
}

} // namespace lvx
