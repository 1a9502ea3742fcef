#pragma once

/// Visibility of what a shared library of this project offers to others. Everything else is
/// hidden: the libraries are built with hidden visibility.

/// Offered by `libPeloraAgent.so`.
#define AGENT_EXPORT __attribute__( ( visibility( "default" ) ) )
/// Offered by `libPeloraTcamSdk6Helpers.so`.
#define PELORA_TCAM_EXPORT __attribute__( ( visibility( "default" ) ) )
