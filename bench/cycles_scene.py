"""Draws a glTF file with Cycles on the CPU; Blender runs it:

    blender --background --factory-startup --python cycles_scene.py -- SCENE CAMERA WIDTH HEIGHT SAMPLES PICTURE

CAMERA is a name. Nothing is denoised: Debian builds Blender without that."""

import sys

import bpy
import numpy
from mathutils import Vector

numpy.bool = bool  # which Blender 3.4 reads glTF with, and NumPy 1.24 has no more


def load(scene: str, camera: str) -> None:
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.ops.preferences.addon_enable(module="cycles")
    bpy.ops.import_scene.gltf(filepath=scene)
    cameras = {thing.name: thing for thing in bpy.data.objects if thing.type == "CAMERA"}
    if camera not in cameras:
        raise SystemExit(f"cycles_scene: no camera '{camera}'; there are {', '.join(cameras)}")
    bpy.context.scene.camera = cameras[camera]
    bpy.context.scene.frame_set(0)


def light() -> None:
    """Light from all around and, in a scene without lights of its own, a sun: about as strong as those of our default."""
    world = bpy.data.worlds.new("Sky")
    world.use_nodes = True
    world.node_tree.nodes["Background"].inputs["Color"].default_value = (0.36, 0.40, 0.46, 1.0)
    bpy.context.scene.world = world
    if any(thing.type == "LIGHT" for thing in bpy.data.objects):
        return
    sun = bpy.data.lights.new("Sun", "SUN")
    sun.energy, sun.angle = 1.8, 0.0186
    holder = bpy.data.objects.new("Sun", sun)
    holder.rotation_euler = Vector((0.48, -0.47, 0.74)).to_track_quat("Z", "Y").to_euler()
    bpy.context.collection.objects.link(holder)


def draw(width: int, height: int, samples: int, picture: str) -> None:
    scene = bpy.context.scene
    scene.render.engine = "CYCLES"
    scene.cycles.device = "CPU"
    scene.cycles.samples = samples
    scene.cycles.use_adaptive_sampling = False
    scene.cycles.use_denoising = False
    scene.view_settings.view_transform = "Standard"
    scene.render.resolution_x, scene.render.resolution_y = width, height
    scene.render.resolution_percentage = 100
    scene.render.image_settings.file_format = "PNG"
    scene.render.image_settings.color_mode = "RGB"
    scene.render.filepath = picture
    bpy.ops.render.render(write_still=True)


def main() -> None:
    scene, camera, width, height, samples, picture = sys.argv[sys.argv.index("--") + 1:]
    load(scene, camera)
    light()
    draw(int(width), int(height), int(samples), picture)


main()
