#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/context_fixture.h"

namespace velmora::testing {

// The thread's fresh context with velmora.ini read into the configuration, for each test.
class MessagesTest : public ::testing::Test, public ContextFixture {
 protected:
  explicit MessagesTest(const std::string& ini = RuntimeFolder::DefaultIni()) : ContextFixture(ini, true) {}
  static size_t ErrorCount() { return Errors().Count(); }
};

// The default namespace declarations with their trailing blank, as the bodies carry them.
inline const std::string kEsquema =
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
    "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" ";

}  // namespace velmora::testing
