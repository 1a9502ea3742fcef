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

/// The helper keeps packet formats and chunks that all its UDFs share: one operation at a time has
/// the helper.
class UdfManager::HelperTurn
{
  public:
    /// Nobody else has the helper; see `usedOrTurn` and `waitForTheHelper`.
    explicit HelperTurn( const UdfManager& manager )
        : manager_( manager )
    {
        AGENT_ASSERT( !manager_.helperIsBusy_ );
        manager_.helperIsBusy_ = true;
    }

    HelperTurn( const HelperTurn& ) = delete;
    HelperTurn& operator=( const HelperTurn& ) = delete;

    ~HelperTurn()
    {
        manager_.helperIsBusy_ = false;
        tellTheEndOfATurn();
    }

  private:
    const UdfManager& manager_;
};

void UdfManager::waitForTheHelper() const
{
    while ( helperIsBusy_ ) {
        waitForTheEndOfATurn();
    }
}

/// Finds the record of a UDF that is used, or waits for the helper, whichever can be had first.
UdfManager::Record* UdfManager::usedOrTurn( const UdfDesc& udfDesc, std::size_t users )
{
    for ( ;; ) {
        const auto found = records_.find( udfDesc );
        if ( found != records_.end() && found->second.users >= users ) {
            return &found->second;
        }
        if ( !helperIsBusy_ ) {
            return nullptr;
        }
        waitForTheEndOfATurn();
    }
}

QualIdList UdfManager::program( const UdfDesc& wanted )
{
    const UdfDesc udfDesc = wanted; // A copy: what is wanted may change while the locks are free.
    if ( Record* const shared = usedOrTurn( udfDesc, 1 ) ) {
        ++shared->users;
        return shared->quals;
    }
    if ( udfDesc.lagHashing() && !helper_->lagHashingSupported() ) {
        return {};
    }
    const HelperTurn turn( *this );
    const QualIdList quals = helper_->programUdfInHw( udfDesc );
    if ( quals.qualIds() != 0 ) {
        const bool isNew = records_.emplace( udfDesc, Record{ quals, 1 } ).second;
        AGENT_ASSERT( isNew && "the UDF was programmed in another's turn" );
    }
    return quals;
}

bool UdfManager::remove( const UdfDesc& unwanted )
{
    const UdfDesc udfDesc = unwanted; // As above.
    if ( !records_.contains( udfDesc ) ) {
        return false;
    }
    if ( Record* const shared = usedOrTurn( udfDesc, 2 ) ) {
        --shared->users;
        return true;
    }
    const HelperTurn turn( *this );
    auto taken = records_.extract( udfDesc );
    if ( !taken ) {
        return false; // Somebody else has removed it meanwhile.
    }
    try {
        helper_->removeUdfFromHw( udfDesc, taken.mapped().quals );
    } catch ( ... ) {
        records_.insert( std::move( taken ) );
        throw;
    }
    return true;
}

UdfManager::Audit UdfManager::audit() const
{
    Audit audit;
    waitForTheHelper();
    const HelperTurn turn( *this );
    // Over a copy: users come and go meanwhile. UDFs do not, in the audit's turn.
    const std::map< UdfDesc, Record > records = records_;
    for ( const auto& [ desc, record ] : records ) {
        if ( desc.lagHashing() ) {
            helper_->verifyLagHashingUdf( desc, record.quals );
        }
        if ( canBeJudged( desc ) ) {
            helper_->verifyProgrammedUdf( desc, record.quals );
            ++audit.compared;
        } else {
            ++audit.notJudged;
        }
    }
    audit.foreign = foreignInTurn();
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
    waitForTheHelper();
    const auto found = records_.find( udfDesc );
    if ( found == records_.end() ) {
        return {};
    }
    const HelperTurn turn( *this );
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
    waitForTheHelper();
    const HelperTurn turn( *this );
    return foreignInTurn();
}

UdfIdList UdfManager::foreignInTurn() const
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
