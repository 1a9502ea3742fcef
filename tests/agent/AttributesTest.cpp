#include "agent/base/Attributes.h"

#include "agent/base/Bitmap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace Agent {

namespace {

class Fan final : public Node
{
  public:
    [[nodiscard]] const ModuleRecord& typeData() const override
    {
        // Never asked for.
        std::abort();
    }

    [[nodiscard]] U8 slot() const { return 3; }

    [[nodiscard]] const std::string& name() const { return name_; }

    [[nodiscard]] const Ptr< Bitmap >& blades() const { return blades_; }

  private:
    std::string name_ = "left";
    Ptr< Bitmap > blades_{ new Bitmap( 5 ) };
};

int serve( const Fan& fan, std::string_view attribute, AttributeOperation operation, void* result )
{
    return readableAttributes( fan, FieldDescriptor{ attribute }, operation, result,
                               ReadableAttribute{ "blades", &Fan::blades },
                               ReadableAttribute{ "name", &Fan::name },
                               ReadableAttribute{ "slot", &Fan::slot } );
}

TEST( AttributesTest, Read_OfAValue_StoresIt )
{
    const Fan fan;
    U8 slot = 0;
    std::string name;

    EXPECT_EQ( serve( fan, "slot", AttributeOperation::read, &slot ), 0 );
    EXPECT_EQ( slot, 3 );
    EXPECT_EQ( serve( fan, "name", AttributeOperation::read, &name ), 0 );
    EXPECT_EQ( name, "left" );
}

TEST( AttributesTest, Read_OfASharedObject_StoresTheSameObject )
{
    const Fan fan;
    Ptr< Bitmap > blades;

    EXPECT_EQ( serve( fan, "blades", AttributeOperation::read, &blades ), 0 );
    EXPECT_EQ( blades.get(), fan.blades().get() );
    EXPECT_EQ( blades->references(), 2U );
}

TEST( AttributesTest, OtherOperation_OnAReadableAttribute_IsNotSupported )
{
    const Fan fan;
    U8 slot = 99;

    EXPECT_EQ( serve( fan, "slot", AttributeOperation::create, &slot ), 1 );
    EXPECT_EQ( serve( fan, "slot", AttributeOperation::remove, &slot ), 1 );
    EXPECT_EQ( slot, 99 );
}

TEST( AttributesTest, AnyOperation_OnAnotherAttribute_IsNotHandledHere )
{
    const Fan fan;
    U8 slot = 99;

    EXPECT_EQ( serve( fan, "slots", AttributeOperation::read, &slot ), 2 );
    EXPECT_EQ( serve( fan, "", AttributeOperation::read, &slot ), 2 );
    EXPECT_EQ( serve( fan, "speed", AttributeOperation::remove, &slot ), 2 );
    EXPECT_EQ( slot, 99 );
}

} // namespace

} // namespace Agent
