#include "tests/support/QelOffscreenGL.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

TEST(QelOffscreenGL, ClearsAndDrawsFixedFunction)
{
    QEL_REQUIRE_GL();
    glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    EXPECT_EQ(QelOffscreenGL::ReadPixel(1, 1), 0xFFFF0000u);

    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glColor3f(1.0f, 0.0f, 0.0f);
    glBegin(GL_QUADS);
    glVertex2f(0.0f, 0.0f);
    glVertex2f(1.0f, 0.0f);
    glVertex2f(1.0f, 1.0f);
    glVertex2f(0.0f, 1.0f);
    glEnd();
    int w = QelOffscreenGL::Width(), h = QelOffscreenGL::Height();
    EXPECT_EQ(QelOffscreenGL::ReadPixel(3 * w / 4, 3 * h / 4), 0xFF0000FFu); // red quad, upper right
    EXPECT_EQ(QelOffscreenGL::ReadPixel(w / 4, h / 4), 0xFFFF0000u);         // still blue, lower left
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}
