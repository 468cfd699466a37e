// The drop command: the check of the dropped data; the batch run fills in the act.
#include "app/CommandExecData.h"

namespace lvx {

void CCommandExecData::OnExecute(bool run) {
    if (dropError.IsError())
        throw my::CException(dropError);
    if (!run)
        return;
}

} // namespace lvx
