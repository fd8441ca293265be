#include "rightclick/drop_list.h"
#include "rightclick/selection.h"

namespace rightclick {

IDataObject* MakeSelection(const std::vector<std::wstring>& files) {
    return MakeDropListObject(files);
}

}  // namespace rightclick
