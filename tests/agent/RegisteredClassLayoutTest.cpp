// What the compiler is asked of a registered class: whether it has members of its own, and what its
// constructor takes.

#include "agent/base/RegisteredClass.h"

#include "agent/base/Bitmap.h"

#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

class ProbeBase : public Node
{
  public:
    ProbeBase( U8 pipeId, U32 unit, const std::string& model );
};

class Probe : public RegisteredClass< Probe, ProbeBase >
{
  public:
    Probe( U8 pipeId, U32 unit, const std::string& model );

    [[nodiscard]] const ModuleRecord& typeData() const override;
};

using BareClass = RegisteredClass< Probe, ProbeBase >;

/// Nothing of these classes is ever made: only what they are is looked at.
class WithFunctions : public BareClass
{
  public:
    void f();
    static Ptr< Bitmap > shared();
};

class WithPointer : public BareClass
{
  public:
    Ptr< Bitmap > bits;
};

/// Ends with padding.
class PaddedBase : public Node
{
  public:
    [[nodiscard]] const ModuleRecord& typeData() const override;

    U8 byte;
};

class WithByte final : public RegisteredClass< WithByte, PaddedBase >
{
  public:
    bool isOpen;
};

class WithByteInState final : public RegisteredClass< WithByteInState, PaddedBase, bool >
{};

static_assert( !Detail::hasOwnMembers< WithFunctions, BareClass >() );
static_assert( Detail::hasOwnMembers< WithPointer, BareClass >() );
static_assert( sizeof( WithByte ) == sizeof( PaddedBase ), "it stands in the padding" );
static_assert( Detail::hasOwnMembers< WithByte, RegisteredClass< WithByte, PaddedBase > >() );
static_assert( !Detail::hasOwnMembers< WithByteInState,
                                       RegisteredClass< WithByteInState, PaddedBase, bool > >() );
static_assert( sizeof( BareClass ) == sizeof( ProbeBase ), "no state takes no room" );
static_assert( sizeof( RegisteredClass< WithByte, WithFunctions > ) == sizeof( ProbeBase ),
               "nor does it behind that of a registered base" );

TEST( TypeNameTest, EachNamedType_HasTheNameOfTheRegistry )
{
    EXPECT_EQ( TypeName< bool >::name, "bool" );
    EXPECT_EQ( TypeName< U8 >::name, "U8" );
    EXPECT_EQ( TypeName< U16 >::name, "U16" );
    EXPECT_EQ( TypeName< U32 >::name, "U32" );
}

template< class Class, class... Arguments >
constexpr bool takesExactly = std::is_constructible_v< Class, Detail::Exactly< Arguments >... >;

static_assert( takesExactly< Probe, U8, U32, std::string > );
static_assert( !takesExactly< Probe, U8, U16, std::string >, "not what can be converted" );
static_assert( !takesExactly< Probe, U8, U32, std::string_view > );
static_assert( !takesExactly< Probe, U8, U32 > );

} // namespace
} // namespace Agent
