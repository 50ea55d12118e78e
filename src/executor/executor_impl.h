#pragma once

#include <memory>

#include "platform/soap/soap_client.h"
#include "velmora/executor.h"

namespace velmora {

struct CExecutor::Impl {
  // Created at start-up once the configuration has loaded, as the old object did; a connection
  // attempt on an object whose start-up failed creates it then.
  std::unique_ptr<platform::SoapClient> client;
};

}  // namespace velmora
