// The source of the probe library. The order of its parts is the order in which they are set up
// when the library is loaded, as in every source of the product.

#include "agent/base/Attributes.h"
#include "agent/base/Log.h"
#include "agent/base/RegisteredClass.h"
#include "agent/base/Trace.h"
#include "sdk/SdkCall.h"

#include <stdexcept>

#define PROBE_EXPORT __attribute__( ( visibility( "default" ) ) )

namespace Probe {

using Agent::U32;
using Agent::U8;

/// The flags of the node whose base was destroyed last.
U32 flagsAtBaseDestruction = 0;

/// Stands for the abstract base of a helper. A unit of 0xFFFFFFFF is more than it can take.
class ProbeBase : public Agent::Node
{
  public:
    ~ProbeBase() override { flagsAtBaseDestruction = nodeFlags(); }

    virtual void handleInitialized() = 0;

    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    [[nodiscard]] U32 unit() const { return unit_; }

    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result )
    {
        return Agent::readableAttributes( node, field, operation, result,
                                          Agent::ReadableAttribute{ "pipeId", &ProbeBase::pipeId },
                                          Agent::ReadableAttribute{ "unit", &ProbeBase::unit } );
    }

  protected:
    ProbeBase( U8 pipeId, U32 unit )
        : pipeId_( pipeId )
        , unit_( unit )
    {
        if ( unit == 0xFFFFFFFF ) {
            throw std::invalid_argument( "no such unit" );
        }
    }

  private:
    U8 pipeId_;
    U32 unit_;
};

/// A class with an attribute of its own, "brightness", which can be read.
class Lamp : public Agent::RegisteredClass< Lamp, ProbeBase >
{
  public:
    Lamp( U8 pipeId, U32 unit )
        : RegisteredClass( pipeId, unit )
    {}

    static Agent::Ptr< Lamp > LampIs( U8 pipeId, U32 unit ) { return make( pipeId, unit ); }

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;
    void handleInitialized() override;

    [[nodiscard]] U32 brightness() const { return 1000 + unit(); }

    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result )
    {
        return Agent::readableAttributes(
            node, field, operation, result,
            Agent::ReadableAttribute{ "brightness", &Lamp::brightness } );
    }

    static Agent::AllocationTracker memAllocationTracker_;
};

/// A class without attributes of its own.
class Bell : public Agent::RegisteredClass< Bell, ProbeBase >
{
  public:
    Bell( U8 pipeId, U32 unit )
        : RegisteredClass( pipeId, unit )
    {}

    static Agent::Ptr< Bell > BellIs( U8 pipeId, U32 unit ) { return make( pipeId, unit ); }

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;
    void handleInitialized() override;

    static Agent::AllocationTracker memAllocationTracker_;
};

namespace {

constexpr Agent::FieldDescriptor lampAttributes[] = { { "brightness" }, { "pipeId" }, { "unit" } };
constexpr Agent::FieldDescriptor bellAttributes[] = { { "pipeId" }, { "unit" } };

const Agent::TypeRecord types[] = {
    Agent::createdType< &Bell::BellIs >( "Probe::Bell", bellAttributes ),
    Agent::createdType< &Lamp::LampIs >( "Probe::Lamp", lampAttributes ),
};

const Agent::RegisteredModule module( "tests/library/probe/Probe", types );

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

AGENT_LOG_MESSAGE const Agent::LogDescriptor lampBroken{
    "PROBE_LAMP_BROKEN", "A lamp is broken", "A lamp gives no light.", "Replace the lamp.", 4 };
AGENT_LOG_MESSAGE const Agent::LogDescriptor lampMended{ "PROBE_LAMP_MENDED", "A lamp is mended",
                                                         "A lamp gives light again.", "", 6 };

const Agent::LogHandle lampBrokenLog( lampBroken, 0, 1.0, 0, 0 );
const Agent::LogHandle lampMendedLog( lampMended, 0, 1.0, 0, 0 );

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "ProbeModule" );
    return handle;
}

} // namespace

Agent::AllocationTracker Lamp::memAllocationTracker_( "Probe::Lamp" );
Agent::AllocationTracker Bell::memAllocationTracker_( "Probe::Bell" );

const Agent::ModuleRecord& Lamp::typeData() const
{
    return module;
}

const Agent::ModuleRecord& Bell::typeData() const
{
    return module;
}

/// Traces, which makes the module's handle at the first time.
void Lamp::handleInitialized()
{
    Agent::trace( _defaultTraceHandle(), 8, "handleInitialized" );
}

/// Makes an SDK call, and raises both messages.
void Bell::handleInitialized()
{
    SDK_CHECKED_CALL( bcm_range_destroy, 0, 1 );
    lampBrokenLog.raise();
    lampMendedLog.raise();
}

} // namespace Probe

extern "C" {

/// Calls the probe's `handleInitialized()`.
PROBE_EXPORT void probeHandleInitialized( Agent::Node& node )
{
    dynamic_cast< Probe::ProbeBase& >( node ).handleInitialized();
}

PROBE_EXPORT Agent::U32 probeFlagsAtBaseDestruction()
{
    return Probe::flagsAtBaseDestruction;
}
}
