#include "tests/soak/GroupSteps.h"

namespace Soak {

using PeloraTcam::QualifierType;

namespace {

constexpr std::array< const char*, 1 > groupRefusable = { "bcm_field_group_config_create" };
constexpr std::array< const char*, 1 > preselectorRefusable = { "bcm_field_presel_create" };

constexpr std::size_t mostGroups = 4;
constexpr std::size_t mostPreselectors = 6;

} // namespace

// ---- Groups ----------------------------------------------------------------------------------

void GroupSteps::createGroup()
{
    constexpr std::array< QualifierType, 6 > all = {
        QualifierType::srcIp,     QualifierType::dstIp,     QualifierType::ipProtocol,
        QualifierType::l4SrcPort, QualifierType::l4DstPort, QualifierType::etherType };
    Reference::GroupDesc desc;
    desc.qualifiers = { all.front() };
    for ( unsigned more = choices.below( 4 ); more != 0; --more ) {
        desc.qualifiers.insert( choices.oneOf( all ) );
    }
    desc.actions = { PeloraTcam::ActionType::drop };
    std::optional< bcm_field_group_t > group;
    const Outcome outcome = trouble.run( { .refusable = groupRefusable, .throwing = 3 }, [ & ] {
        group = agent.groups.create( desc );
        return group.has_value();
    } );
    if ( outcome == Outcome::done ) {
        require( agent.groups.qualifiers( *group ) != nullptr, "the group is known" );
        groups_.push_back( *group );
    }
}

void GroupSteps::destroyGroup( bcm_field_group_t group )
{
    trouble.finish( { .throwing = 1 }, [ & ] { return agent.groups.destroy( group ); } );
}

void GroupSteps::stepOfGroups()
{
    if ( groups_.empty() || ( groups_.size() < mostGroups && choices.below( 2 ) == 0 ) ) {
        return createGroup();
    }
    destroyGroup( taken( groups_, choices.positionIn( groups_ ) ) );
}

// ---- Preselectors ----------------------------------------------------------------------------

void GroupSteps::createPreselector()
{
    const std::vector< Reference::PreselectorQualifier > qualifiers = {
        { QualifierType::drop, 0, 1 },
        { QualifierType::srcClassField, choices.below( 256 ), 0xFF } };
    std::optional< bcm_field_presel_t > preselector;
    const Outcome outcome =
        trouble.run( { .refusable = preselectorRefusable, .throwing = 3 }, [ & ] {
            preselector =
                agent.preselectors.create( qualifiers, Reference::PreselectorFunction::current );
            return preselector.has_value();
        } );
    if ( outcome == Outcome::done ) {
        preselectors_.push_back( *preselector );
    }
}

void GroupSteps::destroyPreselector( bcm_field_presel_t preselector )
{
    trouble.finish( { .throwing = 1 },
                    [ & ] { return agent.preselectors.destroy( preselector ); } );
}

void GroupSteps::stepOfPreselectors()
{
    if ( preselectors_.empty() ||
         ( preselectors_.size() < mostPreselectors && choices.below( 2 ) == 0 ) ) {
        return createPreselector();
    }
    destroyPreselector( taken( preselectors_, choices.positionIn( preselectors_ ) ) );
}

// ---- Both ------------------------------------------------------------------------------------

void GroupSteps::step()
{
    const bool hasPreselectors = agent.profile.field.preselectors != 0;
    if ( hasPreselectors && choices.below( 2 ) == 0 ) {
        return stepOfPreselectors();
    }
    stepOfGroups();
}

void GroupSteps::audit()
{
    require( agent.groups.audit() >= groups_.size(), "all are compared" );
    require( agent.preselectors.size() == preselectors_.size(), "all preselectors are known" );
}

void GroupSteps::releaseAll()
{
    while ( !groups_.empty() ) {
        destroyGroup( taken( groups_, groups_.size() - 1 ) );
    }
    while ( !preselectors_.empty() ) {
        destroyPreselector( taken( preselectors_, preselectors_.size() - 1 ) );
    }
}

} // namespace Soak
