#pragma once

#include "support/TempTree.h"

#include <QColor>
#include <QImage>
#include <gtest/gtest.h>

namespace fennic::test {

// A picture of one colour written under the tree (folders made as needed); its path.
inline QString writePicture(TempTree& tree, const QString& relative, QSize size, QColor colour = QColor(30, 120, 200))
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QString path = tree.path(relative);
    tree.mkdir(relative.section(u'/', 0, -2));
    EXPECT_TRUE(image.save(path));
    return path;
}

}  // namespace fennic::test
