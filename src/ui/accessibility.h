#pragma once

namespace quorin::app {

/// Tells assistive programs what the window's own kinds of view are: pages are groups, pictures
/// and dots are graphics. Once in a program; again does no harm.
void installAccessibleRoles();

}  // namespace quorin::app
