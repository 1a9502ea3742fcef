// Classes that must not compile, one at a time: each is compiled alone, and the test looks for what
// the compiler says.

#include "agent/base/Bitmap.h"
#include "agent/base/RegisteredClass.h"

namespace Agent {
namespace {

class ProbeBase : public Node
{
  public:
    explicit ProbeBase( U16 ) {}

    static int attributeOperation( Node&, const FieldDescriptor&, AttributeOperation, void* )
    {
        return attributeNotHandledHere;
    }
};

#ifdef MEMBER
/// Has a member, which would go before the node is marked.
class Probe final : public RegisteredClass< Probe, ProbeBase >
{
  public:
    explicit Probe( U16 number )
        : RegisteredClass( number )
    {}

    [[nodiscard]] const ModuleRecord& typeData() const override;

    static AllocationTracker memAllocationTracker_;

  private:
    Ptr< Bitmap > bits_{ new Bitmap( 16 ) };
};

void destroyed()
{
    const Probe probe( 1 );
}
#else
/// Takes an argument of a type that has no name in the registry, or of another type than its record
/// would say.
class Probe : public RegisteredClass< Probe, ProbeBase >
{
  public:
#ifdef UNNAMED
    explicit Probe( const Ptr< Bitmap >& );
    static Ptr< Probe > ProbeIs( const Ptr< Bitmap >& bits );
#else
    explicit Probe( U16 number );
    static Ptr< Probe > ProbeIs( U8 number );
#endif

    [[nodiscard]] const ModuleRecord& typeData() const override;

    static AllocationTracker memAllocationTracker_;
};

const TypeRecord type = createdType< &Probe::ProbeIs >( "Probe", {} );
#endif

} // namespace
} // namespace Agent
