#include "agent/tcam/FlexctrServices.h"

namespace PeloraTcam {

namespace {

PeloraTcamCounterObjectManager* counterObjectManager_ = nullptr;
FlexctrManager* flexctrManager_ = nullptr;

} // namespace

PeloraTcamCounterObjectManager::~PeloraTcamCounterObjectManager() = default;

FlexctrActionIndexManager::~FlexctrActionIndexManager() = default;

FlexctrManager::~FlexctrManager() = default;

PeloraTcamCounterObjectManager* getCounterObjectManager()
{
    return counterObjectManager_;
}

void counterObjectManagerIs( PeloraTcamCounterObjectManager* manager )
{
    counterObjectManager_ = manager;
}

FlexctrManager* getFlexctrManager()
{
    return flexctrManager_;
}

void flexctrManagerIs( FlexctrManager* manager )
{
    flexctrManager_ = manager;
}

} // namespace PeloraTcam
