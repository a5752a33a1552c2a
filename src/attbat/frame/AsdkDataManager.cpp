#include "attbat/frame/AsdkDataManager.h"

namespace attbat {

AsdkDataManager<CDocData>& DataManager() {
    static AsdkDataManager<CDocData> manager;
    return manager;
}

}  // namespace attbat
