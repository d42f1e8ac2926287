// SPDX-License-Identifier: GPL-3.0-or-later
#include <QImage>
#include <QPainter>
#include <QString>
#include <QSvgRenderer>
#include <iostream>

// Draws the application's icon in the sizes that desktops use: FOLDER/SIZE.png for each.

int main(int argc, char** argv) {
    if (argc < 4) {
        std::cerr << "Aufruf: icon_pictures BILD.svg ORDNER GRÖSSE…\n";
        return 2;
    }
    QSvgRenderer drawing{QString(argv[1])};
    if (!drawing.isValid()) {
        std::cerr << argv[1] << " ist keine Zeichnung.\n";
        return 1;
    }
    for (int i = 3; i < argc; ++i) {
        const int side = QString(argv[i]).toInt();
        QImage picture(side, side, QImage::Format_ARGB32);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        drawing.render(&painter);
        painter.end();
        const QString file = QString("%1/%2.png").arg(argv[2]).arg(side);
        if (!picture.save(file)) {
            std::cerr << file.toStdString() << " konnte nicht geschrieben werden.\n";
            return 1;
        }
    }
    return 0;
}
