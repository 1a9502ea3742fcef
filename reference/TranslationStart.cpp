#include "reference/TranslationStart.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"

namespace Reference {

void buildTranslationMaps()
{
    PeloraTcam::initializeBcmQualifierMap();
    PeloraTcam::initializeBcmActionMap();
    PeloraTcam::initializeGroupOperationModeTypeMap();
    PeloraTcam::initializeGroupOperationPacketTypeMap();
    PeloraTcam::initializeBcmIpTypeMap();
    PeloraTcam::initializeBcmPacketTypeMap();
    PeloraTcam::initializeBcmTunnelTypeMap();
    PeloraTcam::initializeL2PktTypeMap();
    PeloraTcam::initializePktFwdTypeMap();
}

} // namespace Reference
