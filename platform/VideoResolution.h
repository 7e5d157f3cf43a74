// Width and height of the video stream the host configures.
#pragma once

class VideoResolution {
public:
    VideoResolution() = default;
    VideoResolution(int width, int height) : m_nWidth(width), m_nHeight(height) {}

    int getWidth() const { return m_nWidth; }
    int getHeight() const { return m_nHeight; }
    void setWidth(int width) { m_nWidth = width; }
    void setHeight(int height) { m_nHeight = height; }

private:
    int m_nWidth = 1920;
    int m_nHeight = 1080;
};
