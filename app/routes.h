// What answers which path: the page's files, and the interface that its modules talk to.
#pragma once

#include "app/http.h"
#include "app/life.h"

namespace parvane::app {

// May be called on several threads at a time.
class Routes {
 public:
  explicit Routes(Life& life) : _life(life) {}

  HttpAnswer Answer(const HttpRequest& request);

 private:
  Life& _life;
};

}  // namespace parvane::app
