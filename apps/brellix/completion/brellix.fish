# Completion of brellix(1) for fish. A test compares the options with what each command's --help says.

set -l models yolov5 yolov5_cutoff yolov8_seg
set -l commands init check detect calibrate eval compare bench

complete -c brellix -n "not __fish_seen_subcommand_from $commands" -f
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -s h -l help -d 'Say what there is'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -l version -d 'Say the version'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -a init -d 'Write a configuration for a network'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -a check -d 'Compare a configuration with its network'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -a detect -d 'Find the objects on pictures and videos'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -a calibrate -d 'Measure the ranges of the outputs for 8 bits'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -a eval -d 'Measure average precision and recall'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -a compare -d 'Measure how far two configurations agree'
complete -c brellix -n "not __fish_seen_subcommand_from $commands" -a bench -d 'Measure the time of each stage'

# What several commands have.
complete -c brellix -n "__fish_seen_subcommand_from $commands" -s h -l help -d 'Say what there is, with examples'
complete -c brellix -n "__fish_seen_subcommand_from $commands" -s q -l quiet -d 'No table, no notes, only errors'
complete -c brellix -n '__fish_seen_subcommand_from init detect calibrate eval compare bench' -s v -l verbose -d 'Show what the library says'
complete -c brellix -n '__fish_seen_subcommand_from check detect calibrate eval compare bench' -l model -x -a "$models" -d 'Model class'
complete -c brellix -n '__fish_seen_subcommand_from check detect eval compare bench' -l conf -x -d 'Confidence threshold'
complete -c brellix -n '__fish_seen_subcommand_from check detect eval compare bench' -l nms -x -d 'Overlap threshold'
complete -c brellix -n '__fish_seen_subcommand_from detect calibrate compare bench' -s r -l recursive -d 'Look into the subfolders of folders, too'
complete -c brellix -n '__fish_seen_subcommand_from init check detect eval compare' -l names -r -d 'Class names, one a line'
complete -c brellix -n '__fish_seen_subcommand_from detect eval compare bench' -l json -r -d 'Write JSON, - is standard output'
complete -c brellix -n '__fish_seen_subcommand_from detect eval' -l limit -x -d 'So many pictures or frames'
complete -c brellix -n '__fish_seen_subcommand_from init calibrate' -s o -l out -r -d 'Write this file'
complete -c brellix -n '__fish_seen_subcommand_from init calibrate' -s f -l force -d 'Replace a file that exists'
complete -c brellix -n '__fish_seen_subcommand_from detect compare' -s o -l out -x -a '(__fish_complete_directories)' -d 'Write pictures into this folder'

complete -c brellix -n '__fish_seen_subcommand_from init' -l framework -x -a 'TensorRT RKNN ONNX' -d 'Back-end of a segmentation model'
complete -c brellix -n '__fish_seen_subcommand_from init' -l quantized -d 'A segmentation model with 8-bit outputs'

complete -c brellix -n '__fish_seen_subcommand_from check' -l json -d 'Write one JSON object in place of the table'

complete -c brellix -n '__fish_seen_subcommand_from detect' -l camera -x -d 'Take the frames of this camera'
complete -c brellix -n '__fish_seen_subcommand_from detect' -l every -x -d 'Take every Nth frame or picture alone'
complete -c brellix -n '__fish_seen_subcommand_from detect' -l crops -x -a '(__fish_complete_directories)' -d 'Write each object into this folder'
complete -c brellix -n '__fish_seen_subcommand_from detect' -l mask-format -x -a 'rle polygon none' -d 'How JSON says masks'
complete -c brellix -n '__fish_seen_subcommand_from detect' -l classes -x -d 'Only objects of these classes'

complete -c brellix -n '__fish_seen_subcommand_from eval' -l images -x -a '(__fish_complete_directories)' -d 'Folder of the pictures of a COCO file'
complete -c brellix -n '__fish_seen_subcommand_from eval' -l by-order -d 'The sorted category ids are the classes'
complete -c brellix -n '__fish_seen_subcommand_from eval' -l plot -r -d 'Draw precision by recall'
complete -c brellix -n '__fish_seen_subcommand_from eval' -l detections -r -d "Write what was found in COCO's result form"

complete -c brellix -n '__fish_seen_subcommand_from compare' -l iou -x -d 'Overlap from which two are one object'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l margin -x -d 'Distance from the threshold that is near it'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l worst -x -d 'How many pictures are worst'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l max-missed -x -d 'Objects only in A'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l max-extra -x -d 'Objects only in B'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l max-changed -x -d 'Objects of another class'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l max-drift -x -d 'Difference of the probabilities'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l min-box-iou -x -d 'Overlap of the boxes'
complete -c brellix -n '__fish_seen_subcommand_from compare' -l min-mask-iou -x -d 'Overlap of the masks'

complete -c brellix -n '__fish_seen_subcommand_from bench' -l frames -x -d 'Frames to measure'
complete -c brellix -n '__fish_seen_subcommand_from bench' -l warm-up -x -d 'Frames to run before'
