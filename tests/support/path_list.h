// A list of paths with these names, as a device owns it; released when it goes.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "struct/s_dravik.h"

class PathList {
  public:
    explicit PathList(const std::vector<std::string> &names) : head(mallocPathDev()) {
        s_path_dev *cursor = head;
        for (const std::string &name : names) {
            s_path_dev *node = getOrMallocNextPathDev(cursor);
            snprintf(node->dev_name, sizeof(node->dev_name), "%s", name.c_str());
            cursor->end = false;
            cursor = node;
        }
    }
    ~PathList() {
        freePathDev(head);
    }
    PathList(const PathList &) = delete;
    PathList &operator=(const PathList &) = delete;

    s_path_dev *head;
};
