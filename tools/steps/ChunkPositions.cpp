// chunk-positions: { name: vni }

#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"
#include "tools/udf/UdfOnChip.h"

#include <utility>

namespace Tool {

namespace {

class ChunkPositions : public Step
{
  public:
    explicit ChunkPositions( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const NamedUdf udf = context.udfNames().at( name_ );
        const PeloraTcam::UdfChunkPosList chunks = context.udfs().chunkPositions( udf.desc );
        return { Outcome::ok,
                 chunksText( { chunks.begin(), chunks.end() } ),
                 { { "chunks", Json( chunks ) } } };
    }

  private:
    std::string name_;
};

} // namespace

std::unique_ptr< const Step > readChunkPositions( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< ChunkPositions >( name );
}

} // namespace Tool
