#include "settings/FormatFilter.h"

namespace Utility {

QString mediaFormatFilter()
{
    // The runs of blanks are part of the stored text; they only separate patterns.
    return QStringLiteral(
        "All Files (*.*);;"
        "         Supported Video Files (*.wtv *.ogv *.mxf  *.vro *.webm *.divx *.avi *.mp4 *.vob *.mpg "
        "*.mpeg *.3gp *.3g2 *.wmv *.asf *.dvr-ms         *.rm *.rmvb *.dat *.mov *.flv *.mkv *.dv *.nut "
        "*.h.264 *.nsv *.m4v *.f4v *.tod *.mts *.m2ts *.m2t *.ts *.tp *.trp *.mod *.evo);;"
        "         Supported Audio Files (*.mp3 *.m4a *.mp2 *.mpa *.wma *.aac *.ac3 *.ogg *.aiff *.ra "
        "*.ram *.dts *.m4r *.mka *.flac *.au *.wav);;"
        "High-definition Files (*.ts *.mts *.m2ts *.tp *.trp);;"
        "AVI Audio Files (*.avi);;"
        "         MPEG4 Files (*.mp4);;"
        "MPEG Files (*.mpg *.mpeg);;"
        "Apple Video files (*.m4v);;"
        "Apple Music files(*.m4a *.m4b *.m4p *.m4r);;"
        "         Windows Media Video (*.wmv *.asf);;"
        "Real Media Files (*.rm *.rmvb);;"
        "         Video CD Files (*.dat);;"
        "Quick Time Files (*.mov);;"
        "Flash Video Files (*.flv *.f4v);;"
        "         MKV Files (*.mkv);;"
        " MTS(*.mts *.m2ts *.m2t *.ts *.tp *.trp);;"
        "         Digital Video Files (*.dv);;"
        "TiVo Files (*.tivo);;"
        "         NUT Files (*.nut);;"
        "Raw h.264 Video Files (*.h.264);;"
        "         Nullsoft Stream Video (*.nsv);;"
        "         MPEG Audio Files (*.mp3 *.m4a *.mp2 *.mpa);;"
        "         Windows Media Audio File (*.wma);;"
        "         Advanced Audio Coding File (*.aac);;"
        "         Audio Code 3 File (*.ac3);;"
        "         Matroska Audio File (*.ogg);;"
        "         Audio Interleave File Formats (*.aiff);;"
        "         Real Audio Files (*.ra *.ram);;"
        "TOD files (*.tod)");
}

} // namespace Utility
