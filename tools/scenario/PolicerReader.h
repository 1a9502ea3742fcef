#pragma once

/// Reads what a policer is to be: the vocabulary that the steps of a scenario share.
///
///     mode: trTcm     # committed, srTcm or trTcm
///     cir: 10Mbps     # committed rate, and burst
///     cbs: 64KB
///     pir: 20Mbps     # peak rate, and burst: of trTcm only, and required there
///     pbs: 128KB
///     color: aware    # aware or blind
///     shared: true    # whether it may be one with others that are equal and shared too
///
///     PolicerReader policer;
///     node.readMembers( [ & ]( Input::YamlMembers& members ) { policer.read( members ); } );
///     policer.check( node );

#include "agent/tcam/PolicerHelper.h"
#include "input/YamlDocument.h"
#include "reference/PolicerManager.h"

namespace Tool {

/// Reads a policer among other keys; see the top of this header.
class PolicerReader
{
  public:
    /// Asks for the keys above; `cir` and `cbs` must be there. What is wrong fails at the node
    /// concerned.
    void read( Input::YamlMembers& members );

    /// Fails at the node when what was read does not go together: half a peak, one in a mode that
    /// has none, or none in the mode that has one.
    void check( const Input::YamlNode& node ) const;

    /// What was read. The mode is `committed` where none is given.
    [[nodiscard]] const PeloraTcam::Policer& policer() const { return policer_; }

    /// Whether it may be one with equal ones.
    [[nodiscard]] Reference::PolicerSharing sharing() const
    {
        return shared_ ? Reference::PolicerSharing::shared : Reference::PolicerSharing::own;
    }

  private:
    PeloraTcam::Policer policer_;
    bool shared_ = false;
    bool hasPeakRate_ = false;
    bool hasPeakBurst_ = false;
};

} // namespace Tool
