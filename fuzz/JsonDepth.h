#ifndef FUZZ_JSON_DEPTH_H_
#define FUZZ_JSON_DEPTH_H_

#include <yajl/yajl_tree.h>

#include <algorithm>

// How many arrays and objects stand in each other.
inline int depthOf(yajl_val node) {
  const bool isArray = YAJL_IS_ARRAY(node);
  if (!isArray && !YAJL_IS_OBJECT(node)) {
    return 0;
  }
  yajl_val* const values = isArray ? node->u.array.values : node->u.object.values;
  const size_t count = isArray ? node->u.array.len : node->u.object.len;
  int deepest = 0;
  for (size_t i = 0; i < count; ++i) {
    deepest = std::max(deepest, depthOf(values[i]));
  }
  return deepest + 1;
}

#endif  // FUZZ_JSON_DEPTH_H_
