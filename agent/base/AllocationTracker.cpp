#include "agent/base/AllocationTracker.h"

#include <algorithm>
#include <mutex>

namespace Agent {

namespace {

struct Trackers
{
    std::mutex mutex;
    std::vector< const AllocationTracker* > all;
};

Trackers& trackers()
{
    static Trackers& instance = *new Trackers;
    return instance;
}

} // namespace

AllocationTracker::AllocationTracker( const char* className )
    : className_( className )
{
    const std::lock_guard lock( trackers().mutex );
    trackers().all.push_back( this );
}

AllocationTracker::~AllocationTracker()
{
    const std::lock_guard lock( trackers().mutex );
    std::erase( trackers().all, this );
}

void AllocationTracker::allocated( const std::type_info& type, std::size_t size ) noexcept
{
    type_ = &type;
    ++count_;
    ++total_;
    bytes_ += size;
}

void AllocationTracker::freed( const std::type_info& type, std::size_t size ) noexcept
{
    type_ = &type;
    --count_;
    bytes_ -= size;
}

std::vector< AllocationReport > allocationReports()
{
    std::vector< AllocationReport > reports;
    {
        const std::lock_guard lock( trackers().mutex );
        for ( const AllocationTracker* tracker : trackers().all ) {
            reports.push_back( { tracker->className(), tracker->count(), tracker->bytes() } );
        }
    }
    std::ranges::sort( reports, {}, &AllocationReport::className );
    return reports;
}

} // namespace Agent
