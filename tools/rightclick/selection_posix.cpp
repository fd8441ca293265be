#include "rightclick/drop_list.h"
#include "rightclick/selection.h"

namespace rightclick {

Selection MakeSelection(const std::vector<std::wstring>& files) {
    return {MakeDropListObject(files), false};
}

}  // namespace rightclick
