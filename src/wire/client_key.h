#pragma once

#include "wire/endpoint.h"

namespace quorin::wire {

using ClientKey = Endpoint;

}  // namespace quorin::wire
