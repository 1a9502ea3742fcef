#include "reference/UdfManager.h"

#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "agent/base/Assert.h"

#include <utility>

namespace Reference {

using PeloraTcam::QualIdList;
using PeloraTcam::UdfChunkPosList;
using PeloraTcam::UdfDesc;
using PeloraTcam::UdfId;
using PeloraTcam::UdfIdList;

namespace {

/// Whether the UDF was programmed at another offset than its descriptor's.
bool countsFromBehindAHeader( const UdfDesc& udfDesc )
{
    return PeloraTcam::getUdfStart( udfDesc.base(), udfDesc.ethType(), udfDesc.ipProto() ) != 0;
}

} // namespace

UdfManager::UdfManager( Agent::Ptr< PeloraTcam::UdfHelperBase > helper, UdfPath path )
    : helper_( std::move( helper ) )
    , path_( path )
{
    AGENT_ASSERT( helper_ );
}

QualIdList UdfManager::program( const UdfDesc& udfDesc )
{
    const auto shared = records_.find( udfDesc );
    if ( shared != records_.end() ) {
        ++shared->second.users;
        return shared->second.quals;
    }
    if ( udfDesc.lagHashing() && !helper_->lagHashingSupported() ) {
        return {};
    }
    const QualIdList quals = helper_->programUdfInHw( udfDesc );
    if ( quals.qualIds() != 0 ) {
        const bool isNew = records_.emplace( udfDesc, Record{ quals, 1 } ).second;
        AGENT_ASSERT( isNew && "the UDF was programmed while the SDK was called" );
    }
    return quals;
}

bool UdfManager::remove( const UdfDesc& udfDesc )
{
    const auto found = records_.find( udfDesc );
    if ( found == records_.end() ) {
        return false;
    }
    if ( found->second.users > 1 ) {
        --found->second.users;
        return true;
    }
    // Forgotten only once it is out of the chip: an exception leaves the record as it was. The call
    // lets go of the activity lock, so nothing found before it is used after it.
    const UdfDesc desc = udfDesc;
    const QualIdList quals = found->second.quals;
    helper_->removeUdfFromHw( desc, quals );
    records_.erase( desc );
    return true;
}

UdfManager::Audit UdfManager::audit() const
{
    Audit audit;
    // Over a copy: each call lets go of the activity lock, and records may come and go meanwhile.
    const std::map< UdfDesc, Record > records = records_;
    for ( const auto& [ desc, record ] : records ) {
        if ( desc.lagHashing() ) {
            helper_->verifyLagHashingUdf( desc, record.quals );
        }
        if ( canBeJudged( desc ) ) {
            helper_->verifyProgrammedUdf( desc, record.quals );
            ++audit.compared;
        } else {
            ++audit.withheld;
        }
    }
    audit.foreign = foreign();
    return audit;
}

bool UdfManager::canBeJudged( const UdfDesc& udfDesc ) const
{
    // A chunk is two bytes, and creation asks for one only.
    constexpr Agent::U8 bytesOfAChunk = 2;
    switch ( path_ ) {
    case UdfPath::flexParser:
        return udfDesc.length() <= bytesOfAChunk;
    case UdfPath::flexParserHsdk:
        return udfDesc.length() == bytesOfAChunk;
    case UdfPath::udfModule:
        break;
    }
    return !countsFromBehindAHeader( udfDesc );
}

UdfChunkPosList UdfManager::chunkPositions( const UdfDesc& udfDesc ) const
{
    const auto found = records_.find( udfDesc );
    if ( found == records_.end() ) {
        return {};
    }
    const QualIdList quals = found->second.quals;
    return helper_->getUdfChunkPosList( helper_->moduleId(), quals );
}

UdfIdList UdfManager::list() const
{
    UdfIdList udfs;
    for ( const auto& [ desc, record ] : records_ ) {
        for ( const Agent::U32 id : record.quals ) {
            udfs.udfIdIs( UdfId( static_cast< Agent::S32 >( id ) ) );
        }
    }
    return udfs;
}

UdfIdList UdfManager::foreign() const
{
    UdfIdList udfs = helper_->getAllProgrammedUdfIds( helper_->moduleId() );
    for ( const UdfId id : list() ) {
        udfs.udfIdDel( id );
    }
    return udfs;
}

std::size_t UdfManager::users( const UdfDesc& udfDesc ) const
{
    const auto found = records_.find( udfDesc );
    return found == records_.end() ? 0 : found->second.users;
}

} // namespace Reference
