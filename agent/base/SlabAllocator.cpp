#include "agent/base/SlabAllocator.h"

#include "agent/base/Assert.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Agent {

namespace {

/// The blocks of one type.
class Slab
{
  public:
    explicit Slab( std::size_t objectSize )
        : objectSize_( objectSize )
    {}

    void* allocate( std::size_t size )
    {
        AGENT_ASSERT( size == objectSize_ && "all objects of a type have one size" );
        if ( free_ == nullptr ) {
            reserveChunk();
        }
        FreeBlock* block = free_;
        free_ = block->next;
        ++live_;
        return block;
    }

    void release( void* memory ) noexcept
    {
        free_ = new ( memory ) FreeBlock{ free_ };
        --live_;
    }

    [[nodiscard]] SlabUse use() const { return { live_, chunks_.size() * objectsPerChunk }; }

  private:
    struct FreeBlock
    {
        FreeBlock* next;
    };

    static constexpr std::size_t objectsPerChunk = 16;

    [[nodiscard]] std::size_t blockSize() const
    {
        const std::size_t unit = alignof( std::max_align_t );
        const std::size_t size = std::max( objectSize_, sizeof( FreeBlock ) );
        return ( size + unit - 1 ) / unit * unit;
    }

    void reserveChunk()
    {
        chunks_.reserve( chunks_.size() + 1 );
        chunks_.push_back( std::make_unique< std::byte[] >( blockSize() * objectsPerChunk ) );
        for ( std::size_t i = objectsPerChunk; i-- > 0; ) {
            free_ = new ( chunks_.back().get() + i * blockSize() ) FreeBlock{ free_ };
        }
    }

    std::size_t objectSize_;
    std::size_t live_ = 0;
    FreeBlock* free_ = nullptr;
    std::vector< std::unique_ptr< std::byte[] > > chunks_;
};

struct Slabs
{
    std::mutex mutex;
    std::map< std::string, Slab, std::less<> > byTypeName;
};

/// Never destroyed: objects may be freed late, while other statics already go.
Slabs& slabs()
{
    static Slabs& instance = *new Slabs;
    return instance;
}

} // namespace

void* slabAllocate( const std::type_info& type, std::size_t size )
{
    const std::lock_guard lock( slabs().mutex );
    auto& byTypeName = slabs().byTypeName;
    auto found = byTypeName.find( std::string_view( type.name() ) );
    if ( found == byTypeName.end() ) {
        found = byTypeName.emplace( type.name(), Slab( size ) ).first;
    }
    return found->second.allocate( size );
}

void slabFree( const std::type_info& type, void* memory ) noexcept
{
    if ( memory == nullptr ) {
        return;
    }
    const std::lock_guard lock( slabs().mutex );
    const auto found = slabs().byTypeName.find( std::string_view( type.name() ) );
    AGENT_ASSERT( found != slabs().byTypeName.end() && "freed by the type it was allocated by" );
    found->second.release( memory );
}

SlabUse slabUse( std::string_view typeName )
{
    const std::lock_guard lock( slabs().mutex );
    const auto found = slabs().byTypeName.find( typeName );
    return found == slabs().byTypeName.end() ? SlabUse{} : found->second.use();
}

} // namespace Agent
